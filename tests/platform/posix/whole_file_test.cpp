#include "platform/posix/whole_file.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "platform/posix/file_descriptor.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) == 0) {
            readEnd = FileDescriptor(ends[0]);
            writeEnd = FileDescriptor(ends[1]);
        }
    }
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

FileDescriptor opened(const std::string& path, int flags = O_RDONLY) {
    return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC));
}

/// All that there is, put together; nullopt: it could not be read.
std::optional<std::string> pieces(int file) {
    std::string all;
    const bool whole = readPieces(file, [&](std::string_view piece) {
        EXPECT_FALSE(piece.empty());
        all += piece;
        return true;
    });
    return whole ? std::optional(all) : std::nullopt;
}

const std::string& large() {
    static const std::string bytes = [] {
        std::string text;
        for (std::size_t i = 0; i < 300'000; ++i) {
            text += static_cast<char>(i * 7 + i / 251);
        }
        return text;
    }();
    return bytes;
}

TEST(WholeFile, AllOfAFileIsReadEitherWay) {
    const TempTree tree;
    for (const std::string& content :
         {std::string(), std::string("x"), std::string("a\0b\xff", 4), std::string(127, 'a'),
          std::string(128, 'b'), std::string(65536, 'c'), large()}) {
        tree.write("file", content);
        EXPECT_EQ(readAll(opened(tree.root() + "/file").get(), kNoLimit), content);
        EXPECT_EQ(pieces(opened(tree.root() + "/file").get()), content);
    }
}

TEST(WholeFile, AllOfAPipeIsReadHoweverItComes) {
    for (const bool atOnce : {true, false}) {
        Pipe pipe;
        std::thread writer([&] {
            EXPECT_TRUE(writeAll(pipe.writeEnd.get(), large())) << "more than a pipe holds";
            pipe.writeEnd.reset();
        });
        const auto all =
            atOnce ? readAll(pipe.readEnd.get(), kNoLimit) : pieces(pipe.readEnd.get());
        writer.join();
        EXPECT_TRUE(all == large()) << atOnce;
    }
}

std::atomic<int> signalsHandled = 0;

TEST(WholeFile, SignalsInterruptNothing) {
    struct sigaction handled {};
    struct sigaction before {};
    // Without SA_RESTART: the system does not make the call again.
    handled.sa_handler = [](int) { ++signalsHandled; };
    ASSERT_EQ(::sigaction(SIGUSR1, &handled, &before), 0);
    for (const bool reads : {true, false}) {
        Pipe pipe;
        signalsHandled = 0;
        const pthread_t self = ::pthread_self();
        std::thread other([&] {
            // Until then it has nothing to do but to wait for this thread.
            while (signalsHandled < 1000) {
                ::pthread_kill(self, SIGUSR1);
                std::this_thread::yield();
            }
            if (reads) {
                EXPECT_TRUE(writeAll(pipe.writeEnd.get(), large()));
                pipe.writeEnd.reset();
            } else {
                EXPECT_TRUE(pieces(pipe.readEnd.get()) == large());
            }
        });
        if (reads) {
            EXPECT_TRUE(readAll(pipe.readEnd.get(), kNoLimit) == large());
        } else {
            EXPECT_TRUE(writeAll(pipe.writeEnd.get(), large()));
            pipe.writeEnd.reset();
        }
        other.join();
    }
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(WholeFile, MoreThanTheLimitIsNotRead) {
    const TempTree tree;
    tree.write("file", "12345");
    const std::string path = tree.root() + "/file";
    EXPECT_EQ(readAll(opened(path).get(), 5), "12345");
    errno = 0;
    EXPECT_EQ(readAll(opened(path).get(), 4), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(readAll(opened("/dev/null").get(), 0), "");
    for (const std::uint64_t most : {5U, 4U}) {
        Pipe pipe; // which tells no size before
        ASSERT_TRUE(writeAll(pipe.writeEnd.get(), "12345"));
        pipe.writeEnd.reset();
        EXPECT_EQ(readAll(pipe.readEnd.get(), most).has_value(), most == 5) << most;
    }
    EXPECT_EQ(readAll(opened("/dev/zero").get(), 1'000'000), std::nullopt) << "and ends";
}

TEST(WholeFile, PiecesStopWhenNoMoreAreTaken) {
    const TempTree tree;
    tree.write("file", large());
    int count = 0;
    EXPECT_FALSE(readPieces(opened(tree.root() + "/file").get(), [&](std::string_view) {
        ++count;
        return false;
    }));
    EXPECT_EQ(count, 1);
}

TEST(WholeFile, WhatFailsSaysWhy) {
    const TempTree tree;
    const struct {
        const char* name;
        FileDescriptor file;
        int error;
    } unreadable[] = {
        {"none", FileDescriptor(), EBADF},
        {"a folder", opened(tree.root()), EISDIR},
        {"opened to be written", opened("/dev/null", O_WRONLY), EBADF},
    };
    for (const auto& row : unreadable) {
        errno = 0;
        EXPECT_EQ(readAll(row.file.get(), kNoLimit), std::nullopt) << row.name;
        EXPECT_EQ(errno, row.error) << row.name;
        errno = 0;
        EXPECT_EQ(pieces(row.file.get()), std::nullopt) << row.name;
        EXPECT_EQ(errno, row.error) << row.name;
    }
    errno = 0;
    EXPECT_FALSE(writeAll(opened("/dev/null").get(), "x"));
    EXPECT_EQ(errno, EBADF);
}

TEST(WholeFile, FullDiskIsSaid) {
    const FileDescriptor full = opened("/dev/full", O_WRONLY);
    if (!full) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    errno = 0;
    EXPECT_FALSE(writeAll(full.get(), "x"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(writeAll(full.get(), "")) << "nothing to write";
}

} // namespace
} // namespace korvel::platform
