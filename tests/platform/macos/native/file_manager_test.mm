#include "platform/macos/macos_file_manager.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/ns_string.h"

namespace files = std::filesystem;

namespace korvel::platform {
namespace {

class MacosFileManagerTest : public testing::Test {
  protected:
    MacosFileManagerTest() { files::create_directories(folder_); }
    ~MacosFileManagerTest() override { files::remove_all(folder_); }

    std::string at(const std::string& name) const { return (folder_ / name).string(); }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(at(name)) << text;
    }
    std::string read(const std::string& name) const {
        std::string text;
        std::getline(std::ifstream(at(name)), text);
        return text;
    }

    const files::path folder_ = files::path(testing::TempDir()) /
                                testing::UnitTest::GetInstance()->current_test_info()->name();
    MacosFileManager manager_;
};

} // namespace

TEST_F(MacosFileManagerTest, AMoveThatTheKernelMakesIsNotAskedOfFoundation) {
    write("one", "text");
    EXPECT_TRUE(manager_.move(at("one"), at("two")));
    EXPECT_EQ(read("two"), "text");
    EXPECT_TRUE([NSFileManager moves].empty());
}

TEST_F(MacosFileManagerTest, AFailingMoveIsToldInTheSystemsWords) {
    write("one", "text");
    write("taken", "other");
    const struct {
        const char* what;
        std::string from;
        std::string to;
        std::errc code;
        std::string sentence;
    } cases[] = {
        {"over another", at("one"), at("taken"), std::errc::file_exists,
         "“one” couldn’t be moved to “" + folder_.filename().string() +
             "” because an item with the same name already exists."},
        {"of nothing", at("absent"), at("two"), std::errc::no_such_file_or_directory,
         "“absent” couldn’t be moved to “" + folder_.filename().string() +
             "” because either the former doesn’t exist, or the folder containing the latter "
             "doesn’t exist."},
        {"into nowhere", at("one"), at("nowhere/two"), std::errc::no_such_file_or_directory,
         "“one” couldn’t be moved to “nowhere” because either the former doesn’t exist, or the "
         "folder containing the latter doesn’t exist."},
    };
    std::vector<std::string> asked;
    for (const auto& each : cases) {
        const Status<std::errc> moved = manager_.move(each.from, each.to);
        ASSERT_FALSE(moved) << each.what;
        EXPECT_EQ(moved.error().code, each.code) << each.what;
        EXPECT_EQ(moved.error().subject, each.from) << each.what;
        EXPECT_EQ(moved.error().detail, each.sentence) << each.what;
        asked.push_back(each.from + " -> " + each.to);
    }
    EXPECT_EQ([NSFileManager moves], asked);
    EXPECT_EQ(read("one"), "text");
    EXPECT_EQ(read("taken"), "other");
}

TEST_F(MacosFileManagerTest, TheWordsAreThoseOfTheErrorThatFoundationGives) {
    [NSFileManager failMovesWith:[NSError errorWithDomain:NSCocoaErrorDomain
                                                     code:642
                                                 userInfo:@{
                                                     NSLocalizedDescriptionKey :
                                                         @"„Korvel“ kann nicht bewegt werden: das "
                                                         @"Volume kann nur gelesen werden."
                                                 }]];
    const Status<std::errc> moved = manager_.move(at("absent"), at("two"));
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().detail,
              "„Korvel“ kann nicht bewegt werden: das Volume kann nur gelesen werden.");
}

TEST_F(MacosFileManagerTest, AMoveToAnotherVolumeIsMadeByFoundation) {
    const files::path other = "/dev/shm/korvel-moved-" + std::to_string(::getpid());
    struct ::stat here;
    struct ::stat there;
    if (::stat(folder_.c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 ||
        here.st_dev == there.st_dev) {
        GTEST_SKIP() << "no second volume: /dev/shm is on that of " << folder_;
    }
    files::create_directory(at("bundle"));
    write("bundle/file", "text");
    EXPECT_TRUE(manager_.move(at("bundle"), other.string()));
    EXPECT_FALSE(files::exists(at("bundle")));
    EXPECT_TRUE(files::exists(other / "file"));
    EXPECT_EQ([NSFileManager moves].size(), 1U);
    files::remove_all(other);
}

TEST_F(MacosFileManagerTest, AFlushThatFailsIsToldInTheSystemsWords) {
    const Status<std::errc> flushed = manager_.flush(at("absent"));
    ASSERT_FALSE(flushed);
    EXPECT_EQ(flushed.error().code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(flushed.error().subject, at("absent"));
    EXPECT_EQ(flushed.error().detail,
              "The operation couldn’t be completed. No such file or directory");
    EXPECT_TRUE(manager_.flush(folder_.string()));
}

TEST_F(MacosFileManagerTest, ARecordThatFailsIsToldInTheSystemsWords) {
    const Status<std::errc> recorded =
        manager_.recordReplacement(at("no work folder"), at("Korvel.app"));
    ASSERT_FALSE(recorded);
    EXPECT_EQ(recorded.error().code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(recorded.error().detail,
              "The operation couldn’t be completed. No such file or directory");
}

} // namespace korvel::platform
