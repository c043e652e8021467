#include "platform/posix/files.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/ordinary_user.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
  protected:
    Files() {
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    ~Files() override { fs::remove_all(folder_); }

    std::string path(const char* name) const { return folder_ / name; }

    fs::path folder_ =
        fs::path(testing::TempDir()) / ("korvel-files-" + std::to_string(::getpid()));
    PosixFiles files_;
};

TEST_F(Files, ContentComesBackAsItWasWritten) {
    std::string everyByte;
    for (int c = 0; c < 256; ++c) {
        everyByte += static_cast<char>(c);
    }
    for (const std::string& content :
         {std::string(), std::string("x"), everyByte, std::string(65536, 'a'),
          std::string(65537, 'b'), std::string(5000000, 'c')}) {
        EXPECT_TRUE(files_.write(path("file"), content));
        EXPECT_EQ(files_.read(path("file")), content) << content.size();
    }
}

TEST_F(Files, EmptyFileIsReadAndIsNotAFailure) {
    std::ofstream(path("empty")).close();
    EXPECT_EQ(files_.read(path("empty")), "");
}

TEST_F(Files, ContentHasRoomBehindIt) {
    files_.write(path("file"), std::string(100000, 'x'));
    const std::string content = files_.read(path("file")).value();
    EXPECT_GE(content.capacity() - content.size(), 64U) << "for a parser that reads ahead";
}

TEST_F(Files, FileWithoutASizeIsReadToItsEnd) {
    if (!fs::exists("/proc/self/status")) {
        GTEST_SKIP() << "no file here whose size is told as 0";
    }
    const std::optional<std::string> status = files_.read("/proc/self/status");
    ASSERT_TRUE(status);
    EXPECT_NE(status->find("Pid:"), std::string::npos);
    EXPECT_EQ(status->back(), '\n');
}

TEST_F(Files, OnlyARegularFileIsRead) {
    fs::create_directory(path("directory"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(files_.read(path("missing")), std::nullopt);
    EXPECT_EQ(files_.read(path("directory")), std::nullopt);
    EXPECT_EQ(files_.read(path("fifo")), std::nullopt) << "and does not hang";
    EXPECT_EQ(files_.read("/dev/null"), std::nullopt);
    EXPECT_EQ(files_.read("/dev/zero"), std::nullopt);
    EXPECT_EQ(files_.read(""), std::nullopt);
}

TEST_F(Files, FileThatIsTooLargeToHoldIsNotRead) {
    files_.write(path("large"), "");
    ASSERT_EQ(::truncate(path("large").c_str(), off_t{1} << 40), 0);
    EXPECT_EQ(files_.read(path("large")), std::nullopt);
    ASSERT_EQ(::truncate(path("large").c_str(), PosixFiles::kLargestFile + 1), 0);
    EXPECT_EQ(files_.read(path("large")), std::nullopt);
    ASSERT_EQ(::truncate(path("large").c_str(), PosixFiles::kLargestFile), 0);
    ASSERT_TRUE(files_.read(path("large")));
    EXPECT_EQ(files_.read(path("large"))->size(), std::size_t{PosixFiles::kLargestFile});
}

TEST_F(Files, WriteReplacesAllOfALongerFileInPlace) {
    files_.write(path("file"), "a long content");
    struct stat before {};
    ::stat(path("file").c_str(), &before);
    EXPECT_TRUE(files_.write(path("file"), "short"));
    struct stat after {};
    ::stat(path("file").c_str(), &after);
    EXPECT_EQ(files_.read(path("file")), "short");
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(Files, WriteKeepsTheFilesPermissions) {
    files_.write(path("file"), "x");
    fs::permissions(path("file"), fs::perms::owner_read | fs::perms::owner_write);
    files_.write(path("file"), "y");
    EXPECT_EQ(fs::status(path("file")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Files, NewFileTakesTheUsersMask) {
    const mode_t before = ::umask(027);
    files_.write(path("file"), "x");
    ::umask(before);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path("file")).permissions()), 0640U);
}

TEST_F(Files, LinksAreFollowed) {
    files_.write(path("target"), "old");
    fs::create_symlink("target", path("link"));
    EXPECT_EQ(files_.read(path("link")), "old");
    EXPECT_TRUE(files_.write(path("link"), "new"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(files_.read(path("target")), "new");
    fs::create_symlink("nowhere", path("dangling"));
    EXPECT_EQ(files_.read(path("dangling")), std::nullopt);
    EXPECT_TRUE(files_.write(path("dangling"), "made"));
    EXPECT_EQ(files_.read(path("nowhere")), "made");
    fs::create_symlink("loop", path("loop"));
    EXPECT_FALSE(files_.write(path("loop"), "x"));
}

TEST_F(Files, WhatCannotBeWrittenIsSaid) {
    fs::create_directory(path("directory"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_FALSE(files_.write(path("directory"), "x"));
    EXPECT_FALSE(files_.write(path("missing/file"), "x"));
    EXPECT_FALSE(files_.write(path("fifo"), "x")) << "and does not hang";
}

TEST_F(Files, FullDiskIsSaid) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    EXPECT_FALSE(files_.write("/dev/full", "x"));
    EXPECT_TRUE(files_.write("/dev/full", "")) << "nothing to write";
}

TEST_F(Files, WhatThereIsNoRoomForLeavesTheFileAsItWas) {
    const struct {
        std::string content;
        rlim_t room; ///< bytes that a file may have, as on a disk that is full then
    } rows[] = {{"old", 3}, {"old", 5}, {"", 0}, {"", 2}};
    for (const auto& row : rows) {
        ASSERT_TRUE(files_.write(path("file"), row.content));
        rlimit before{};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit full{row.room, before.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
        const bool written = files_.write(path("file"), "[is longer");
        const bool writtenAsShort = files_.write(path("other"), row.content);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        std::signal(SIGXFSZ, handler);
        EXPECT_FALSE(written);
        EXPECT_TRUE(writtenAsShort);
        EXPECT_EQ(files_.read(path("file")), row.content) << row.room;
    }
}

TEST_F(Files, PermissionsHold) {
    files_.write(path("secret"), "x");
    fs::permissions(path("secret"), fs::perms::none);
    files_.write(path("fixed"), "x");
    fs::permissions(path("fixed"), fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(folder_, fs::perms::owner_all | fs::perms::others_exec);
    EXPECT_EXIT(std::_Exit(test::becomeOrdinaryUser() && !files_.read(path("secret")) &&
                                   !files_.write(path("secret"), "y") &&
                                   files_.read(path("fixed")) == "x" &&
                                   !files_.write(path("fixed"), "y")
                               ? 0
                               : 1),
                testing::ExitedWithCode(0), "");
    EXPECT_EQ(fs::file_size(path("fixed")), 1U);
}

TEST_F(Files, NoDescriptorStaysOpen) {
    const auto next = [] {
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(fd);
        return fd;
    };
    const int before = next();
    files_.write(path("file"), "x");
    files_.read(path("file"));
    files_.read(path("missing"));
    files_.read(folder_);
    files_.write("/dev/full", "x");
    EXPECT_EQ(next(), before);
}

TEST(HomeDirectory, IsTheEnvironmentsOrTheAccounts) {
    const char* const before = std::getenv("HOME");
    const std::string kept = before == nullptr ? "" : before;
    PosixFiles files;
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(files.homeDirectory(), "/home/someone");
    ::setenv("HOME", "/home/someone//", 1);
    EXPECT_EQ(files.homeDirectory(), "/home/someone");
    ::setenv("HOME", "/", 1);
    EXPECT_EQ(files.homeDirectory(), "/");
    const std::string account = ::getpwuid(::getuid())->pw_dir;
    ::setenv("HOME", "", 1);
    EXPECT_EQ(files.homeDirectory(), account);
    ::setenv("HOME", "relative/path", 1);
    EXPECT_EQ(files.homeDirectory(), account);
    ::unsetenv("HOME");
    EXPECT_EQ(files.homeDirectory(), account);
    ::setenv("HOME", kept.c_str(), 1);
}

} // namespace
} // namespace korvel::platform
