#include "platform/posix/file_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/described_tree.h"
#include "platform/posix/file_manager_fixture.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using test::describedTree;
using test::FileManagerTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const Status<std::errc> kMoved;

/// Sets a variable of the environment, or takes it away, for as long as it lives.
class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* const before = std::getenv(name)) {
            before_ = before;
        }
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_ ? before_->c_str() : nullptr); }

  private:
    void set(const char* value) const {
        value == nullptr ? ::unsetenv(name_) : ::setenv(name_, value, 1);
    }
    const char* name_;
    std::optional<std::string> before_;
};

TEST_F(FileManagerTest, TemporaryDirectoryIsTheVariableWhereThatIsAbsolute) {
    const struct {
        const char* variable;
        const char* expected;
    } cases[] = {{"/var/tmp", "/var/tmp"},
                 {"/var/tmp///", "/var/tmp"},
                 {"tmp", "/tmp"},
                 {"", "/tmp"},
                 {"/", "/tmp"},
                 {"//", "/tmp"},
                 {"/no/such/folder", "/tmp"},
                 {nullptr, "/tmp"}};
    for (const auto& one : cases) {
        const Variable variable("TMPDIR", one.variable);
        EXPECT_EQ(manager_.temporaryDirectory(), one.expected)
            << (one.variable == nullptr ? "unset" : one.variable);
    }
}

TEST_F(FileManagerTest, TemporaryDirectoryIsNoneInWhichOthersCanExchangeFiles) {
    fs::create_directories(path("given"));
    const Variable variable("TMPDIR", path("given").c_str());
    const std::pair<mode_t, bool> kModes[] = {{0700, true},  {0755, true},  {01777, true},
                                              {0777, false}, {0770, false}, {0702, false},
                                              {0720, false}, {01770, true}};
    for (const auto& [mode, isUsed] : kModes) {
        ASSERT_EQ(::chmod(path("given").c_str(), mode), 0);
        EXPECT_EQ(manager_.temporaryDirectory(), isUsed ? path("given") : "/tmp")
            << std::oct << mode;
    }
    fs::permissions(path("given"), fs::perms(0700));
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path("given").c_str(), 12345, 12345), 0);
        EXPECT_EQ(manager_.temporaryDirectory(), "/tmp") << "its owner could";
    }
}

TEST_F(FileManagerTest, FoldersAreMadeForTheUserAlone) {
    const mode_t mask = ::umask(0);
    EXPECT_TRUE(manager_.createDirectory(path("a/b/c")));
    ::umask(mask);
    for (const char* name : {"a", "a/b", "a/b/c"}) {
        EXPECT_EQ(fs::status(path(name)).permissions(), fs::perms(0700)) << name;
    }
    EXPECT_TRUE(manager_.createDirectory(path("a/b/c"))) << "there already";
    EXPECT_TRUE(manager_.createDirectory(path("a/b/d/"))) << "with a slash at the end";
}

TEST_F(FileManagerTest, FolderThatIsNotThereAfterwardsIsTold) {
    write(path("file"), "x");
    EXPECT_FALSE(manager_.createDirectory(path("file")));
    EXPECT_FALSE(manager_.createDirectory(path("file/folder")));
    EXPECT_FALSE(manager_.createDirectory(""));
}

TEST_F(FileManagerTest, ContentsAreAllNamesButTheTwoDots) {
    write(path("one"), "");
    write(path(".hidden"), "");
    write(path("two/inside"), "");
    EXPECT_THAT(manager_.contents(folder_).value(), UnorderedElementsAre("one", ".hidden", "two"));
    EXPECT_THAT(manager_.contents(path("two/")).value(), ElementsAre("inside"));
    fs::create_directories(path("empty"));
    EXPECT_THAT(manager_.contents(path("empty")).value(), IsEmpty());
}

TEST_F(FileManagerTest, ContentsComeInTheOrderOfTheSystem) {
    for (const char* name : {"z", "a", "m", "0", "B.app", "a.app"}) {
        write(path(name), "");
    }
    std::vector<std::string> order;
    for (const auto& entry : fs::directory_iterator(folder_)) {
        order.push_back(entry.path().filename());
    }
    EXPECT_EQ(manager_.contents(folder_), order);
}

TEST_F(FileManagerTest, WhatCannotBeListedHasNoContents) {
    write(path("file"), "");
    EXPECT_EQ(manager_.contents(path("missing")), std::nullopt);
    EXPECT_EQ(manager_.contents(path("file")), std::nullopt);
}

TEST_F(FileManagerTest, RemovingTakesAllThatIsInside) {
    makeBundle(path("Korvel.app"));
    manager_.remove(path("Korvel.app/"));
    EXPECT_FALSE(fs::exists(path("Korvel.app")));
    manager_.remove(path("missing"));
    manager_.remove("");
}

TEST_F(FileManagerTest, RemovingDoesNotFollowLinks) {
    write(path("kept/file"), "x");
    fs::create_directories(path("gone"));
    fs::create_directory_symlink("../kept", path("gone/link"));
    fs::create_directory_symlink("kept", path("link"));
    manager_.remove(path("gone"));
    manager_.remove(path("link/")); // a slash would have the system follow it
    EXPECT_FALSE(fs::exists(path("gone")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(path("link"))));
    EXPECT_TRUE(fs::exists(path("kept/file")));
}

TEST_F(FileManagerTest, FoldersThatTheirOwnerMayNotWriteAreRemoved) {
    fs::permissions(folder_, fs::perms(0777));
    EXPECT_EQ(asOrdinaryUser([this] {
                  makeBundle(path("Korvel.app"));
                  fs::create_directories(path("Korvel.app/locked/inside"));
                  fs::permissions(path("Korvel.app/locked"), fs::perms::none);
                  manager_.remove(path("Korvel.app"));
                  return !fs::exists(path("Korvel.app"));
              }),
              0);
}

TEST_F(FileManagerTest, MovingKeepsEverything) {
    makeBundle(path("Korvel.app"));
    const auto before = describedTree(path("Korvel.app"));
    EXPECT_EQ(manager_.move(path("Korvel.app/"), path("old.app/")), kMoved);
    EXPECT_EQ(describedTree(path("old.app")), before);
    EXPECT_FALSE(fs::exists(path("Korvel.app")));
}

TEST_F(FileManagerTest, ExchangingGivesEachTheOthersPlace) {
    makeBundle(path("Korvel.app"));
    write(path("work/out/New.app/Contents/Info.plist"), "<new/>");
    const auto old = describedTree(path("Korvel.app"));
    const auto fresh = describedTree(path("work/out/New.app"));
    EXPECT_TRUE(manager_.exchange(path("work/out/New.app"), path("Korvel.app")));
    EXPECT_EQ(describedTree(path("Korvel.app")), fresh);
    EXPECT_EQ(describedTree(path("work/out/New.app")), old);
}

TEST_F(FileManagerTest, ExchangingWithNothingChangesNothing) {
    makeBundle(path("Korvel.app"));
    EXPECT_FALSE(manager_.exchange(path("missing"), path("Korvel.app")));
    EXPECT_FALSE(manager_.exchange(path("Korvel.app"), path("missing")));
    EXPECT_THAT(manager_.contents(folder_).value(), ElementsAre("Korvel.app"));
}

TEST_F(FileManagerTest, WhatIsThereCanBeFlushedAndWhatIsNotIsTold) {
    makeBundle(path("Korvel.app"));
    EXPECT_EQ(manager_.flush(path("Korvel.app")), kMoved);
    EXPECT_EQ(manager_.flush(path("missing")),
              (Error{std::errc::no_such_file_or_directory, path("missing")}));
}

TEST_F(FileManagerTest, MovingALinkMovesTheLink) {
    write(path("file"), "x");
    fs::create_symlink("file", path("link"));
    EXPECT_EQ(manager_.move(path("link"), path("moved")), kMoved);
    EXPECT_EQ(fs::read_symlink(path("moved")), "file");
}

TEST_F(FileManagerTest, WhyItCouldNotBeMovedIsToldWithThePath) {
    write(path("file"), "one");
    write(path("taken"), "two");
    fs::create_directories(path("folder"));
    fs::create_directories(path("empty"));
    fs::create_symlink("nowhere", path("dangling"));
    const struct {
        const char* from;
        const char* to;
        std::errc expected;
    } cases[] = {
        {"file", "taken", std::errc::file_exists},
        {"folder", "empty", std::errc::file_exists},
        {"file", "dangling", std::errc::file_exists},
        {"missing", "new", std::errc::no_such_file_or_directory},
        {"file", "missing/new", std::errc::no_such_file_or_directory},
        {"file", "taken/new", std::errc::not_a_directory},
        {"folder", "folder/inside", std::errc::invalid_argument},
    };
    const auto before = describedTree(folder_);
    for (const auto& one : cases) {
        EXPECT_EQ(manager_.move(path(one.from), path(one.to)),
                  (Error{one.expected, path(one.from)}))
            << one.from << " to " << one.to;
    }
    EXPECT_EQ(describedTree(folder_), before);
}

TEST_F(FileManagerTest, MoveThatIsNotAllowedSaysSo) {
    makeBundle(path("Korvel.app"));
    fs::permissions(folder_, fs::perms(0755));
    fs::create_directories(path("open"));
    fs::permissions(path("open"), fs::perms(0777));
    if (::geteuid() != 0) {
        fs::permissions(folder_, fs::perms(0555));
    }
    EXPECT_EQ(asOrdinaryUser([this] {
                  return manager_.move(path("Korvel.app"), path("open/old.app")) ==
                         Error{std::errc::permission_denied, path("Korvel.app")};
              }),
              0);
    EXPECT_TRUE(fs::exists(path("Korvel.app/Contents/Linux/korvel")));
    fs::permissions(folder_, fs::perms(0755));
}

} // namespace
} // namespace korvel::platform
