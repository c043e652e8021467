#include "platform/linux/update/linux_bundle.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/ordinary_user.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPlist = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                               "<key>CFBundleVersion</key><string>100</string>"
                               "<key>Number</key><integer>5</integer></dict></plist>";
const LinuxBundle::Strings kOwn{{"CFBundleVersion", "7"}, {"CFBundleShortVersionString", "0.7"}};

class LinuxBundleTest : public testing::Test {
  protected:
    std::string bundle() const { return tree_.root() + "/Korvel.app"; }
    std::string executable() const { return bundle() + "/Contents/Linux/korvel"; }
    void writeDescription(std::string_view text) const {
        tree_.write("Korvel.app/Contents/Info.plist", text);
    }

    TempTree tree_;
};

TEST_F(LinuxBundleTest, StringsAreThoseOfItsDescription) {
    writeDescription(kPlist);
    LinuxBundle bundle(executable(), kOwn);
    EXPECT_EQ(bundle.path(), this->bundle());
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), "100");
    EXPECT_EQ(bundle.infoString("Number"), std::nullopt) << "no string";
    EXPECT_EQ(bundle.infoString("CFBundleShortVersionString"), std::nullopt)
        << "the program's own are for outside a bundle";
    EXPECT_TRUE(bundle.parentWritable());
}

TEST_F(LinuxBundleTest, DescriptionStaysThatOfTheStart) {
    writeDescription(kPlist);
    LinuxBundle bundle(executable(), {});
    tree_.remove("Korvel.app");
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), "100");
    EXPECT_EQ(bundle.path(), this->bundle());
}

TEST_F(LinuxBundleTest, MissingOrBrokenDescriptionHasNoStrings) {
    EXPECT_EQ(LinuxBundle(executable(), kOwn).infoString("CFBundleVersion"), std::nullopt);
    writeDescription("broken");
    EXPECT_EQ(LinuxBundle(executable(), kOwn).infoString("CFBundleVersion"), std::nullopt);
    EXPECT_EQ(LinuxBundle(executable(), kOwn).path(), bundle());
}

TEST_F(LinuxBundleTest, ProgramOutsideABundleIsItsOwnAndIsNeverReplaced) {
    for (const std::string place :
         {"/korvel", "/usr/bin/korvel", "/build/release/bin/korvel",
          "/Korvel/Contents/Linux/korvel", "/.app/Contents/Linux/korvel",
          "/Korvel.app/Contents/Linux/other", "/Korvel.app/Contents/korvel",
          "/Korvel.app/Contents/Linux/korvel/korvel", "/Korvel.APP/Contents/Linux/korvel"}) {
        const std::string path = tree_.root() + place;
        LinuxBundle bundle(path, kOwn);
        EXPECT_EQ(bundle.path(), path);
        EXPECT_EQ(bundle.infoString("CFBundleVersion"), "7");
        EXPECT_EQ(bundle.infoString("CFBundleShortVersionString"), "0.7");
        EXPECT_EQ(bundle.infoString("CFBundleIdentifier"), std::nullopt);
        EXPECT_FALSE(bundle.parentWritable()) << path;
    }
}

TEST_F(LinuxBundleTest, PackageManagerSeesToACopyBesideItsMark) {
    const struct {
        const char* executable;
        const char* mark;
        bool managed;
    } cases[] = {
        {"/usr/bin/korvel", "usr/share/korvel/package-type", true},
        {"/usr/bin/korvel", "usr/share/korvel/other", false},
        {"/build/bin/korvel", "usr/share/korvel/package-type", false},
        {"/usr/bin/korvel", "share/korvel/package-type", false},
        {"/Korvel.app/Contents/Linux/korvel", "Korvel.app/Contents/share/korvel/package-type",
         false},
    };
    for (const auto& row : cases) {
        const TempTree tree;
        const std::string path = tree.root() + row.executable;
        fs::create_directories(fs::path(path).parent_path());
        tree.write(row.mark, "deb\n");
        LinuxBundle bundle(path, {});
        EXPECT_EQ(bundle.managedElsewhere(), row.managed) << row.executable << " " << row.mark;
        fs::remove_all(tree.root() + "/usr");
        EXPECT_EQ(bundle.managedElsewhere(), row.managed) << "as it was at the start";
    }
    EXPECT_FALSE(LinuxBundle("", {}).managedElsewhere()) << "the path is not known";
}

TEST_F(LinuxBundleTest, WhetherTheParentIsWritableIsAskedEachTime) {
    writeDescription(kPlist);
    fs::permissions(tree_.root(), fs::perms(0755));
    const auto writableForOrdinaryUser = [this](fs::perms mode) {
        fs::permissions(tree_.root(), mode);
        const pid_t child = ::fork();
        if (child == 0) {
            constexpr int kNoOrdinaryUser = 2;
            std::_Exit(!test::becomeOrdinaryUser()                      ? kNoOrdinaryUser
                       : LinuxBundle(executable(), {}).parentWritable() ? 0
                                                                        : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(writableForOrdinaryUser(fs::perms(0777)), 0);
    EXPECT_EQ(writableForOrdinaryUser(fs::perms(0555)), 1);
    EXPECT_EQ(writableForOrdinaryUser(fs::perms(0666)), 1) << "not to be entered";
    fs::permissions(tree_.root(), fs::perms(0755));
    LinuxBundle bundle(executable(), {});
    EXPECT_TRUE(bundle.parentWritable());
    tree_.remove("");
    EXPECT_FALSE(bundle.parentWritable());
}

TEST_F(LinuxBundleTest, RunningExecutableIsTheFileOfThisProcess) {
    const std::string path = LinuxBundle::runningExecutable();
    EXPECT_EQ(fs::path(path).filename(), "linux_update_test");
    EXPECT_TRUE(fs::path(path).is_absolute());
}

} // namespace
} // namespace korvel::platform
