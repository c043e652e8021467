#include "platform/posix/work_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/described_tree.h"
#include "platform/posix/file_manager_fixture.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string kName = "korvel-update-01234567-89AB-CDEF-0123-456789ABCDEF";

class WorkFolders : public test::FileManagerTest {
  protected:
    WorkFolders() {
        fs::create_directories(path("apps"));
        fs::create_directories(path("temporary"));
        ::setenv("TMPDIR", path("temporary").c_str(), 1);
        makeBundle(kPlace);
    }
    ~WorkFolders() override { ::unsetenv("TMPDIR"); }

    std::vector<std::string> names(const std::string& folder) {
        return manager_.contents(path(folder)).value();
    }

    /// As the launch of the copy in `bundle` does.
    void launch(const std::string& bundle) const {
        recoverWorkFolders({bundle, path("temporary"), kRecord});
    }

    /// Lets a process work and die without coming to its end.
    void inAProcessThatDies(const std::function<void(PosixFileManager& manager)>& work) const {
        const pid_t child = ::fork();
        if (child == 0) {
            PosixFileManager manager(kRecord);
            work(manager);
            std::_Exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_EQ(status, 0);
    }

    /// The old bundle is away and the new one not yet in place.
    void dieBetweenTheMoves() const {
        inAProcessThatDies([this](PosixFileManager& manager) {
            const std::string work = manager.makeWorkFolder(kName, kPlace);
            makeBundle(work + "/out/Korvel.app");
            if (!manager.recordReplacement(work, kPlace) ||
                !manager.move(kPlace, work + "/old.app")) {
                std::_Exit(1);
            }
        });
    }

    const std::string kPlace = path("apps/Korvel.app");
    const std::string kWork = path("apps/." + kName);
    const std::string kRecord = path("settings/update");
};

TEST_F(WorkFolders, LieBesideTheBundleForTheUserAlone) {
    const mode_t mask = ::umask(0);
    EXPECT_EQ(manager_.makeWorkFolder(kName, kPlace), kWork);
    ::umask(mask);
    EXPECT_EQ(fs::status(kWork).permissions(), fs::perms(0700));
    manager_.remove(kWork);
    EXPECT_THAT(names("apps"), ElementsAre("Korvel.app"));
}

TEST_F(WorkFolders, LieInTheTemporaryDirectoryWhereNothingIsToBeReplaced) {
    EXPECT_EQ(manager_.makeWorkFolder(kName, ""), path("temporary/" + kName));
    EXPECT_EQ(fs::status(path("temporary/" + kName)).permissions(), fs::perms(0700));
    ::setenv("TMPDIR", path("temporary/later").c_str(), 1);
    EXPECT_EQ(manager_.makeWorkFolder(kName, ""), "/tmp/" + kName);
    manager_.remove("/tmp/" + kName);
}

TEST_F(WorkFolders, ThatWereLeftBehindAreRemovedAtTheNextLaunch) {
    inAProcessThatDies([this](PosixFileManager& manager) {
        makeBundle(manager.makeWorkFolder(kName, kPlace) + "/old.app");
    });
    fs::create_directories(path("temporary/" + kName + "/out"));
    launch(kPlace);
    EXPECT_THAT(names("apps"), ElementsAre("Korvel.app"));
    EXPECT_THAT(names("temporary"), IsEmpty());
}

TEST_F(WorkFolders, OfALivingProcessStay) {
    const std::string work = manager_.makeWorkFolder(kName, kPlace);
    launch(kPlace);
    EXPECT_TRUE(fs::exists(work));
}

TEST_F(WorkFolders, AreKnownByANameThatOnlyThisProgramGives) {
    const std::string kUuid = "01234567-89AB-CDEF-0123-456789ABCDEF";
    const std::string kOthers[] = {"korvel-update-",
                                   "korvel-update-" + kUuid + "0",
                                   "korvel-update-" + kUuid + ".bak",
                                   "my-korvel-update-" + kUuid,
                                   "korvel-update-0123456789ABCDEF0123456789ABCDEF0123",
                                   "korvel-update-01234567-89ab-cdef-0123-456789abcdef",
                                   "korvel-update-G1234567-89AB-CDEF-0123-456789ABCDEF",
                                   "korvel-updates-" + kUuid.substr(1)};
    for (const std::string& name : kOthers) {
        fs::create_directories(path("temporary/" + name));
        fs::create_directories(path("apps/." + name));
    }
    fs::create_directories(path("apps/" + kName)); // beside a bundle they are hidden
    fs::create_directories(path("temporary/." + kName));
    const auto before = test::describedTree(folder_);
    launch(kPlace);
    EXPECT_EQ(test::describedTree(folder_), before);
}

TEST_F(WorkFolders, ThatAreLinksOrAnothersAreLeftAlone) {
    write(path("kept/file"), "x");
    fs::create_directory_symlink(path("kept"), kWork);
    write(path("temporary/" + kName), "a file");
    const std::string other = path("temporary/korvel-update-FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF");
    if (::geteuid() == 0) {
        fs::create_directories(other);
        ASSERT_EQ(::chown(other.c_str(), 12345, 12345), 0);
    }
    const auto before = test::describedTree(folder_);
    launch(kPlace);
    EXPECT_EQ(test::describedTree(folder_), before);
}

TEST_F(WorkFolders, GiveTheOldBundleBackToAPlaceThatIsEmpty) {
    const auto old = test::describedTree(kPlace);
    makeBundle(path("elsewhere/Korvel.app"));
    const std::string kStarters[] = {path("elsewhere/Korvel.app"), kWork + "/old.app",
                                     path("apps/Another.app"), ""};
    for (const std::string& starter : kStarters) {
        dieBetweenTheMoves();
        ASSERT_FALSE(fs::exists(kPlace));
        launch(starter);
        EXPECT_EQ(test::describedTree(kPlace), old) << starter;
        EXPECT_THAT(names("apps"), ElementsAre("Korvel.app")) << starter;
        EXPECT_THAT(names("settings"), IsEmpty()) << starter;
    }
}

TEST_F(WorkFolders, DoNotTakeThePlaceOfWhatIsThere) {
    dieBetweenTheMoves();
    write(kPlace + "/Contents/Info.plist", "<another/>");
    const auto another = test::describedTree(kPlace);
    launch(kPlace);
    EXPECT_EQ(test::describedTree(kPlace), another);
    EXPECT_THAT(names("apps"), ElementsAre("Korvel.app"));
}

TEST_F(WorkFolders, ThatTheStartedCopyLiesInStayUntilItIsStartedElsewhere) {
    dieBetweenTheMoves();
    launch(kWork + "/out/Korvel.app");
    EXPECT_TRUE(fs::exists(kPlace));
    EXPECT_TRUE(fs::exists(kWork + "/out/Korvel.app"));
    launch(kPlace);
    EXPECT_THAT(names("apps"), ElementsAre("Korvel.app"));
}

TEST_F(WorkFolders, KeepTheOnlyCopyWhereItCannotGoBack) {
    dieBetweenTheMoves();
    fs::rename(path("apps"), path("moved"));
    fs::create_directories(path("settings"));
    launch(path("moved/Another.app"));
    EXPECT_TRUE(fs::exists(path("moved/." + kName + "/old.app"))) << "its place is gone";
}

TEST_F(WorkFolders, ThatCannotBeAskedWhatTheyHoldAreLeftAlone) {
    dieBetweenTheMoves();
    const std::string state = kWork + "/korvel-work";
    const std::string kept = path("kept");
    fs::rename(state, kept);
    fs::create_directory(state); // can be opened as a file no more than one on a failing disk
    launch(path("elsewhere/Korvel.app"));
    EXPECT_TRUE(fs::exists(kWork + "/old.app"));

    fs::remove(state);
    fs::rename(kept, state);
    launch(path("elsewhere/Korvel.app"));
    EXPECT_TRUE(fs::exists(kPlace));
    EXPECT_FALSE(fs::exists(kWork));
}

TEST_F(WorkFolders, RecordIsKeptWhileItsVolumeIsAway) {
    dieBetweenTheMoves();
    fs::rename(path("apps"), path("away"));
    launch("");
    EXPECT_THAT(names("settings"), ElementsAre("update"));
    fs::rename(path("away"), path("apps"));
    launch("");
    EXPECT_TRUE(fs::exists(kPlace));
    EXPECT_THAT(names("settings"), IsEmpty());
}

TEST_F(WorkFolders, RecordThatLeadsElsewhereHasNothingRemoved) {
    fs::create_directories(path("settings"));
    write(path("kept/file"), "x");
    fs::create_symlink(path("kept"), kRecord);
    const auto before = test::describedTree(folder_);
    launch(kPlace);
    EXPECT_EQ(test::describedTree(folder_), before);
}

TEST_F(WorkFolders, RecordGoesWithTheFolderThatItLeadsTo) {
    PosixFileManager manager(kRecord);
    const std::string work = manager.makeWorkFolder(kName, kPlace);
    ASSERT_TRUE(manager.recordReplacement(work, kPlace));
    EXPECT_EQ(fs::read_symlink(kRecord), work);
    manager.remove(work);
    EXPECT_THAT(names("settings"), IsEmpty());
}

TEST_F(WorkFolders, ReplacementThatCannotBeRecordedIsTold) {
    write(path("file"), "no folder");
    PosixFileManager manager(path("file/update"));
    const std::string work = manager.makeWorkFolder(kName, kPlace);
    EXPECT_EQ(manager.recordReplacement(work, kPlace), (Error{std::errc::not_a_directory, kPlace}));
    EXPECT_EQ(manager.recordReplacement(path("apps"), kPlace),
              (Error{std::errc::no_such_file_or_directory, kPlace}));
    manager.remove(work);
}

} // namespace
} // namespace korvel::platform
