#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "model/model.h"
#include "platform/posix/files.h"
#include "platform/simulated/services.h"
#include "support/ordinary_user.h"

// The trail on file: when it is read and written, and what a real home directory may hold.
namespace korvel {
namespace {

namespace fs = std::filesystem;
using platform::CallLog;

constexpr const char* kFile = "/Users/korvel/.korvel-history.json";

struct SavingProgram : platform::SimulatedServices {
    CallLog log;
    Metrics metrics{machine, processes, agents, clock};

    SavingProgram() { logTo(log); }

    std::shared_ptr<Model> launch() { return std::make_shared<Model>(metrics, services()); }
};

TEST(History, IsReadOnceFromTheHomeDirectory) {
    SavingProgram program;
    program.files.contents[kFile] = "[[1,2,3],[4,5,6]]";
    const auto model = program.launch();
    EXPECT_EQ(model->history->size(), 2U);
    model->refresh();
    program.runLoop.advance(0);
    model->saveHistory();
    EXPECT_EQ(std::count(program.log.begin(), program.log.end(), std::string("read ") + kFile), 1);
}

TEST(History, FileNameIsAppendedToTheHomeDirectoryAsItStands) {
    SavingProgram program;
    program.files.home = "/odd home/ü";
    program.launch()->saveHistory();
    EXPECT_EQ(program.files.contents.begin()->first, "/odd home/ü/.korvel-history.json");
}

TEST(History, MissingFileStartsEmptyAndTheFirstSaveMakesIt) {
    SavingProgram program;
    const auto model = program.launch();
    EXPECT_TRUE(model->history->empty());
    model->saveHistory();
    EXPECT_EQ(program.files.contents.at(kFile), "[]");
}

TEST(History, SurvivesARestart) {
    SavingProgram program;
    auto model = program.launch();
    for (int i = 0; i < 3; ++i) {
        program.clock.turn(5.1);
        model->refresh();
        program.runLoop.advance(0);
    }
    model->saveHistory();
    const std::string saved = program.files.contents.at(kFile);
    model = program.launch();
    EXPECT_EQ(model->history->size(), 3U);
    model->saveHistory();
    EXPECT_EQ(program.files.contents.at(kFile), saved);
}

TEST(History, FourthColumnIsGoneAfterTheNextSave) {
    SavingProgram program;
    program.files.contents[kFile] = "[[1, 2, 3, 4]]\n";
    program.launch()->saveHistory();
    EXPECT_EQ(program.files.contents.at(kFile), "[[1,2,3]]");
}

TEST(History, MalformedFileIsLeftUntilTheNextSaveReplacesIt) {
    SavingProgram program;
    program.files.contents[kFile] = "{}";
    const auto model = program.launch();
    EXPECT_TRUE(model->history->empty());
    EXPECT_EQ(program.files.contents.at(kFile), "{}");
    model->saveHistory();
    EXPECT_EQ(program.files.contents.at(kFile), "[]");
}

TEST(HistoryDeathTest, ShortRowEndsTheProcessDuringLoading) {
    SavingProgram program;
    program.files.contents[kFile] = "[[1,2]]";
    EXPECT_EXIT(program.launch(), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(History, NumberWithoutAJsonFormLeavesTheOldFile) {
    SavingProgram program;
    program.files.contents[kFile] = "[[1,2,3]]";
    const auto model = program.launch();
    model->history.update([](History& points) {
        points.emplace_back(2, std::numeric_limits<double>::quiet_NaN(), 3);
    });
    program.log.clear();
    model->saveHistory();
    EXPECT_EQ(program.log, CallLog{}) << "nothing is written";
    EXPECT_EQ(program.files.contents.at(kFile), "[[1,2,3]]");
}

// A point that is changed in place, which nobody does, shows whether its row is written again.
TEST(History, ItsTextIsMadeAnewAtEachSaveUnlessItIsKept) {
    for (const bool isKept : {false, true}) {
        SavingProgram program;
        program.files.contents[kFile] = "[[1,2,3]]";
        const auto model = program.launch();
        if (isKept) {
            model->keepHistoryText();
        }
        model->saveHistory();
        model->history.update([](History& points) { points[0].cpu = 99; });
        model->saveHistory();
        EXPECT_EQ(program.files.contents.at(kFile), isKept ? "[[1,2,3]]" : "[[1,99,3]]");
    }
}

TEST(History, FailedSaveIsDroppedAndTheNextTriesAgain) {
    SavingProgram program;
    const auto model = program.launch();
    program.files.unwritable.insert(kFile);
    model->saveHistory();
    EXPECT_TRUE(program.files.contents.empty());
    program.files.unwritable.clear();
    model->saveHistory();
    EXPECT_EQ(program.files.contents.at(kFile), "[]");
}

TEST(History, LoadingAnnouncesNothingToAnyoneElse) {
    SavingProgram program;
    program.files.contents[kFile] = "[[1,2,3]]";
    program.launch();
    EXPECT_EQ(program.log,
              (CallLog{"homeDirectory", "homeDirectory", "now", std::string("read ") + kFile}))
        << "nothing is put off for later";
}

/// A program whose home is a real directory.
class HistoryOnDisk : public testing::Test {
  protected:
    HistoryOnDisk() {
        fs::remove_all(home_);
        fs::create_directories(home_);
        ::setenv("HOME", home_.c_str(), 1);
    }
    ~HistoryOnDisk() override {
        std::error_code gone;
        fs::permissions(home_, fs::perms::owner_all, gone);
        fs::remove_all(home_, gone);
    }

    std::shared_ptr<Model> launch() {
        return std::make_shared<Model>(metrics_, system_.services(system_.childProcesses, files_));
    }
    void write(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }
    std::string read() const {
        std::ostringstream text;
        text << std::ifstream(file_, std::ios::binary).rdbuf();
        return text.str();
    }
    std::size_t loaded() { return launch()->history->size(); }

    fs::path home_ =
        fs::path(testing::TempDir()) / ("korvel-history-" + std::to_string(::getpid()));
    fs::path file_ = home_ / ".korvel-history.json";
    platform::SimulatedServices system_;
    Metrics metrics_{system_.machine, system_.processes, system_.agents, system_.clock};
    platform::PosixFiles files_;
};

TEST_F(HistoryOnDisk, IsWrittenOverInPlaceWithTheSameInode) {
    write("[[1,2,3],[4,5,6],[7,8,9]]");
    struct stat before {};
    ASSERT_EQ(::stat(file_.c_str(), &before), 0);
    const auto model = launch();
    model->history = History{{1, 2, 3}};
    model->saveHistory();
    struct stat after {};
    ASSERT_EQ(::stat(file_.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(read(), "[[1,2,3]]") << "no rest of the longer file";
    EXPECT_EQ(std::distance(fs::directory_iterator(home_), fs::directory_iterator()), 1)
        << "no file beside it";
}

TEST_F(HistoryOnDisk, LinkIsFollowedBothWays) {
    const fs::path target = home_ / "elsewhere.json";
    std::ofstream(target) << "[[1,2,3]]";
    fs::create_symlink(target, file_);
    const auto model = launch();
    EXPECT_EQ(model->history->size(), 1U);
    model->history = History{};
    model->saveHistory();
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_EQ(fs::file_size(target), 2U);
}

TEST_F(HistoryOnDisk, DirectoryInItsPlaceIsAnEmptyHistoryAndStays) {
    fs::create_directory(file_);
    const auto model = launch();
    EXPECT_TRUE(model->history->empty());
    model->saveHistory();
    EXPECT_TRUE(fs::is_directory(file_));
}

TEST_F(HistoryOnDisk, MissingHomeDirectoryIsSilent) {
    fs::remove_all(home_);
    const auto model = launch();
    EXPECT_TRUE(model->history->empty());
    model->saveHistory();
    EXPECT_FALSE(fs::exists(home_));
}

TEST_F(HistoryOnDisk, FullDiskIsSilentAndTheNextSaveTriesAgain) {
    fs::create_symlink("/dev/full", file_);
    const auto model = launch();
    EXPECT_TRUE(model->history->empty());
    model->history = History{{1, 2, 3}};
    model->saveHistory();
    fs::remove(file_);
    model->saveHistory();
    EXPECT_EQ(read(), "[[1,2,3]]");
}

TEST_F(HistoryOnDisk, BadFilesGiveAnEmptyHistory) {
    for (const std::string& text :
         {std::string(), std::string("{}"), std::string("hello"), std::string("[[1,2,3]"),
          std::string(4096, '\0'), std::string("\x89PNG\r\n\x1a\n\0\xff", 10)}) {
        write(text);
        EXPECT_EQ(loaded(), 0U) << text;
        EXPECT_EQ(read(), text) << "loading writes nothing";
    }
}

TEST_F(HistoryOnDisk, LongFileKeepsItsLastRows) {
    std::string text = "[";
    for (int i = 0; i < 50000; ++i) {
        text += (i == 0 ? "[" : ",[") + std::to_string(i) + ",1,2]";
    }
    write(text + "]");
    const auto model = launch();
    EXPECT_EQ(model->history->size(), 43200U);
    EXPECT_EQ(model->history->front().t, 6800);
    EXPECT_EQ(model->history->back().t, 49999);
}

// The superuser may read and write anything, so these run in a child that is an ordinary user.

/// Ends the process with 0 when `check` holds for an ordinary user.
template <typename Check>
[[noreturn]] void exitAsOrdinaryUser(Check check) {
    std::_Exit(test::becomeOrdinaryUser() && check() ? 0 : 1);
}

TEST_F(HistoryOnDisk, UnreadableFileIsAnEmptyHistory) {
    write("[[1,2,3]]");
    fs::permissions(file_, fs::perms::none);
    EXPECT_EXIT(exitAsOrdinaryUser([&] { return loaded() == 0; }), testing::ExitedWithCode(0), "");
}

TEST_F(HistoryOnDisk, ReadOnlyFileIsLoadedAndStaysAsItIs) {
    write("[[1,2,3]]");
    fs::permissions(file_, fs::perms::owner_read | fs::perms::others_read);
    EXPECT_EXIT(exitAsOrdinaryUser([&] {
                    const auto model = launch();
                    const bool hasLoaded = model->history->size() == 1;
                    model->history = History{};
                    model->saveHistory();
                    return hasLoaded && read() == "[[1,2,3]]";
                }),
                testing::ExitedWithCode(0), "");
}

TEST_F(HistoryOnDisk, HomeThatCannotBeWrittenIsSilent) {
    fs::permissions(home_, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                               fs::perms::others_exec);
    EXPECT_EXIT(exitAsOrdinaryUser([&] {
                    launch()->saveHistory();
                    return !fs::exists(file_);
                }),
                testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace korvel
