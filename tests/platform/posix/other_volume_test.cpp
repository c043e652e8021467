#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/described_tree.h"
#include "platform/posix/file_manager.h"
#include "platform/posix/file_manager_fixture.h"
#include "platform/posix/private_mounts.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using test::describedTree;
using test::FileManagerTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using MoveStep = PosixFileManager::MoveStep;

const Status<std::errc> kMovedThere;

/// With a second volume of a given size.
class MoveToOtherVolume : public FileManagerTest {
  protected:
    void useVolume(const std::string& size) {
        volume_ = std::make_unique<test::SmallVolume>(folder_ / "volume", size);
    }
    std::string there(const std::string& name) const { return volume_->folder() / name; }

    std::unique_ptr<test::SmallVolume> volume_;
};

#define NEED_VOLUME(size)                                                                          \
    useVolume(size);                                                                               \
    if (!volume_->failure().empty()) {                                                             \
        GTEST_SKIP() << volume_->failure();                                                        \
    }

TEST_F(MoveToOtherVolume, KeepsModesTimesAndLinks) {
    NEED_VOLUME("4m");
    makeBundle(path("Korvel.app"));
    const auto before = describedTree(path("Korvel.app"));
    ASSERT_NE(::rename(path("Korvel.app").c_str(), there("x").c_str()), 0);
    ASSERT_EQ(errno, EXDEV);
    EXPECT_EQ(manager_.move(path("Korvel.app"), there("old.app")), kMovedThere);
    EXPECT_EQ(describedTree(there("old.app")), before);
    EXPECT_THAT(manager_.contents(folder_).value(), ElementsAre("volume"));
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), ElementsAre("old.app"));
    EXPECT_EQ(manager_.move(there("old.app"), path("Korvel.app")), kMovedThere);
    EXPECT_EQ(describedTree(path("Korvel.app")), before);
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), IsEmpty());
}

TEST_F(MoveToOtherVolume, MovesAFileAndALink) {
    NEED_VOLUME("4m");
    write(path("file"), "x");
    fs::create_symlink("file", path("link"));
    EXPECT_EQ(manager_.move(path("file"), there("file")), kMovedThere);
    EXPECT_EQ(manager_.move(path("link"), there("link")), kMovedThere);
    EXPECT_EQ(fs::read_symlink(there("link")), "file");
    EXPECT_EQ(fs::file_size(there("link")), 1U);
    EXPECT_THAT(manager_.contents(folder_).value(), ElementsAre("volume"));
}

TEST_F(MoveToOtherVolume, DropsWhatWouldRunAsAnotherUser) {
    NEED_VOLUME("4m");
    write(path("file"), "x");
    ASSERT_EQ(::chmod(path("file").c_str(), 06755), 0);
    EXPECT_EQ(manager_.move(path("file"), there("file")), kMovedThere);
    EXPECT_EQ(fs::status(there("file")).permissions(), fs::perms(0755));
}

TEST_F(MoveToOtherVolume, FullDiskLeavesAllAsBefore) {
    NEED_VOLUME("128k");
    makeBundle(path("Korvel.app"));
    const auto before = describedTree(path("Korvel.app"));
    EXPECT_EQ(manager_.move(path("Korvel.app"), there("Korvel.app")),
              (Error{std::errc::no_space_on_device, path("Korvel.app/Contents/Linux/korvel")}));
    EXPECT_EQ(describedTree(path("Korvel.app")), before);
    EXPECT_THAT(manager_.contents(folder_).value(), UnorderedElementsAre("volume", "Korvel.app"));
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), IsEmpty());
}

TEST_F(MoveToOtherVolume, WhatIsThereIsNotReplaced) {
    NEED_VOLUME("4m");
    write(path("file"), "one");
    write(there("taken"), "two");
    fs::create_directories(there("empty"));
    fs::create_directories(path("folder"));
    for (const auto& [from, to] : {std::pair("file", "taken"), std::pair("folder", "empty")}) {
        EXPECT_EQ(manager_.move(path(from), there(to)),
                  (Error{std::errc::file_exists, path(from)}));
        EXPECT_TRUE(fs::exists(path(from)));
    }
    EXPECT_THAT(manager_.contents(volume_->folder()).value(),
                UnorderedElementsAre("taken", "empty"));
}

TEST_F(MoveToOtherVolume, MissingFilesAndFoldersAreTold) {
    NEED_VOLUME("4m");
    write(path("file"), "one");
    for (const auto& [from, to] : {std::pair("missing", "x"), std::pair("file", "missing/x")}) {
        EXPECT_EQ(manager_.move(path(from), there(to)),
                  (Error{std::errc::no_such_file_or_directory, path(from)}));
    }
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), IsEmpty());
}

TEST_F(MoveToOtherVolume, PipeInsideIsNotWaitedForAndNotMoved) {
    NEED_VOLUME("4m");
    write(path("folder/file"), "one");
    ASSERT_EQ(::mkfifo(path("folder/pipe").c_str(), 0600), 0);
    EXPECT_EQ(manager_.move(path("folder"), there("folder")),
              (Error{std::errc::not_supported, path("folder/pipe")}));
    EXPECT_TRUE(fs::exists(path("folder/file")));
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), IsEmpty());
}

TEST_F(MoveToOtherVolume, OriginalThatMustStayTakesTheCopyBack) {
    NEED_VOLUME("4m");
    makeBundle(path("locked/Korvel.app"));
    fs::permissions(path("locked"), fs::perms(0755));
    fs::permissions(folder_, fs::perms(0755));
    fs::permissions(path("locked/Korvel.app/Contents/Resources/readable only"), fs::perms(0444));
    fs::permissions(volume_->folder(), fs::perms(0777));
    const auto before = describedTree(path("locked"));
    EXPECT_EQ(asOrdinaryUser([this] {
                  return manager_.move(path("locked/Korvel.app"), there("old.app")) ==
                         Error{std::errc::permission_denied, path("locked/Korvel.app")};
              }),
              0);
    EXPECT_EQ(describedTree(path("locked")), before);
    EXPECT_THAT(manager_.contents(volume_->folder()).value(), IsEmpty());
}

TEST_F(MoveToOtherVolume, LeftoverOfAnEarlierMoveIsNoHindrance) {
    NEED_VOLUME("4m");
    makeBundle(path("Korvel.app"));
    const std::string number = std::to_string(::getpid());
    write(there(".Korvel.app.korvel-" + number), "left");
    write(path(".Korvel.app.korvel-" + number + "/x"), "left");
    EXPECT_EQ(manager_.move(path("Korvel.app"), there("Korvel.app")), kMovedThere);
    EXPECT_TRUE(fs::exists(there("Korvel.app/Contents/Linux/korvel")));
    EXPECT_FALSE(fs::exists(path("Korvel.app")));
}

/// What a child that is killed after its `count`th step leaves. False: it came to its end before.
bool moveAndDieAfter(int count, const std::string& from, const std::string& to, MoveStep& last) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        int left = count;
        PosixFileManager manager([&left, &ends](MoveStep step) {
            if (--left == 0) {
                const char number = static_cast<char>(step);
                std::_Exit(::write(ends[1], &number, 1) == 1 ? ::kill(::getpid(), SIGKILL) : 1);
            }
        });
        std::_Exit(manager.move(from, to) ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(ends[1]);
    char number = 0;
    const bool stepped = ::read(ends[0], &number, 1) == 1;
    ::close(ends[0]);
    last = static_cast<MoveStep>(number);
    EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0);
    return stepped;
}

TEST_F(MoveToOtherVolume, KilledAfterAnyStepItLeavesAWholeCopyUnderTheOldOrTheNewName) {
    NEED_VOLUME("8m");
    // In memory too: each step is flushed, which takes a disk its time.
    const test::SmallVolume second(folder_ / "second", "8m");
    ASSERT_EQ(second.failure(), "");
    makeBundle(path("model.app"));
    const auto whole = describedTree(path("model.app"));
    for (const bool outward : {true, false}) {
        const std::string from = outward ? path("second/a/Korvel.app") : there("a/Korvel.app");
        const std::string to = outward ? there("b/old.app") : path("second/b/old.app");
        const std::vector<std::string> parents{fs::path(from).parent_path(),
                                               fs::path(to).parent_path()};
        std::string seen;
        for (int count = 1;; ++count) {
            for (const std::string& parent : parents) {
                manager_.remove(parent);
                ASSERT_TRUE(manager_.createDirectory(parent));
            }
            makeBundle(from);
            // Made at another time than the first, in what no one set.
            const auto expected = describedTree(from);
            ASSERT_EQ(expected.size(), whole.size());
            MoveStep last{};
            if (!moveAndDieAfter(count, from, to, last)) {
                break;
            }
            const auto atOld = describedTree(from);
            const auto atNew = describedTree(to);
            EXPECT_TRUE(atOld.empty() || atOld == expected) << "half at the old path: " << count;
            EXPECT_TRUE(atNew.empty() || atNew == expected) << "half at the new path: " << count;
            const char* const step[] = {"copied", "in place", "aside", "removed"};
            const std::string state = std::string(step[static_cast<int>(last)]) + ":" +
                                      (atOld.empty() ? "" : " old") + (atNew.empty() ? "" : " new");
            if (!seen.ends_with(state)) {
                seen += (seen.empty() ? "" : ", ") + state;
            }
            // Beside them, hidden names at most, and the next move is none the worse.
            for (const std::string& parent : parents) {
                const auto names = manager_.contents(parent);
                for (const std::string& name : names.value()) {
                    EXPECT_TRUE(name.front() == '.' || fs::path(parent) / name == from ||
                                fs::path(parent) / name == to)
                        << name;
                }
            }
            if (atNew.empty()) {
                EXPECT_EQ(manager_.move(from, to), kMovedThere) << count;
                EXPECT_EQ(describedTree(to), expected) << count;
            }
        }
        EXPECT_EQ(seen, "copied: old, in place: old new, aside: new, removed: new");
    }
}

} // namespace
} // namespace korvel::platform
