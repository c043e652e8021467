#include "platform/posix/child_processes.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Real children, of the tools that every system has.
namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr const char* kShell = "/bin/sh";
constexpr ChildStreams kBoth{ChildStream::capture, ChildStream::capture};
constexpr ChildStreams kErrorOnly{ChildStream::discard, ChildStream::capture};
constexpr ChildStreams kNone{ChildStream::discard, ChildStream::discard};

std::optional<ChildResult> script(const std::string& text, ChildStreams streams = {}) {
    return PosixChildProcesses().run(kShell, {"-c", text}, streams);
}

std::string outputOf(const std::string& text, ChildStreams streams = {}) {
    const auto result = script(text, streams);
    return result ? result->output : "did not start";
}

TEST(ChildProcesses, OutputIsReadToItsEnd) {
    EXPECT_EQ(outputOf("echo one; sleep 0.05; echo two"), "one\ntwo\n");
    EXPECT_EQ(outputOf("printf 'no line end'"), "no line end");
    EXPECT_EQ(outputOf(":"), "");
}

TEST(ChildProcesses, TenMegabytesDoNotBlockTheChild) {
    const std::string output = outputOf("head -c 10485760 /dev/zero");
    EXPECT_EQ(output.size(), 10485760U);
    EXPECT_EQ(output.find_first_not_of('\0'), std::string::npos);
}

TEST(ChildProcesses, BytesAreHandedOnAsTheyAre) {
    EXPECT_EQ(outputOf(R"(printf 'a\000\377\200\r\n')"), "a\0\xff\x80\r\n"s);
}

TEST(ChildProcesses, ChildThatCannotStartGivesNothing) {
    PosixChildProcesses children;
    const fs::path plain = fs::path(testing::TempDir()) / "korvel-not-a-program";
    std::ofstream(plain) << "text\n";
    EXPECT_EQ(children.run("/nonexistent/tool", {}, {}).has_value(), false) << "missing";
    EXPECT_EQ(children.run(plain, {}, {}).has_value(), false) << "not executable";
    EXPECT_EQ(children.run(testing::TempDir(), {}, {}).has_value(), false) << "directory";
    fs::permissions(plain, fs::perms::owner_all);
    EXPECT_EQ(children.run(plain, {}, {}).has_value(), false) << "executable, but no program";
    EXPECT_EQ(children.run("", {}, {}).has_value(), false) << "no name";
    EXPECT_EQ(children.run("sh", {"-c", ":"}, {}).has_value(), false) << "no search for a name";
    fs::remove(plain);
}

TEST(ChildProcesses, ExitStatusIsTold) {
    for (const int status : {0, 1, 7, 126, 255}) {
        EXPECT_EQ(script("exit " + std::to_string(status))->status, status);
    }
}

TEST(ChildProcesses, SignalThatEndedItIsToldNegated) {
    EXPECT_EQ(script("kill -9 $$")->status, -SIGKILL);
    EXPECT_EQ(script("kill -15 $$")->status, -SIGTERM);
    const auto killed = script("echo before; kill -9 $$; echo after");
    EXPECT_EQ(killed->output, "before\n") << "what it wrote is kept";
}

TEST(ChildProcesses, EachStreamGoesWhereItIsSent) {
    const std::string both = "echo out; echo error >&2";
    EXPECT_EQ(outputOf(both), "out\n");
    EXPECT_EQ(outputOf(both, kBoth), "out\nerror\n");
    EXPECT_EQ(outputOf(both, kErrorOnly), "error\n");
    EXPECT_EQ(outputOf(both, kNone), "");
}

TEST(ChildProcesses, ChildIsWaitedForWhenNothingIsCaptured) {
    const fs::path file = fs::path(testing::TempDir()) / "korvel-waited-for";
    fs::remove(file);
    script("sleep 0.05; : > '" + file.string() + "'", kNone);
    EXPECT_TRUE(fs::exists(file));
    fs::remove(file);
}

TEST(ChildProcesses, InputIsTheNullDevice) {
    EXPECT_EQ(outputOf("cat; echo end"), "end\n");
    EXPECT_EQ(outputOf("test -t 0 && echo terminal || echo none"), "none\n");
}

TEST(ChildProcesses, ArgumentsAreHandedOnWithoutAShell) {
    const std::vector<std::string> words{"$HOME",      "`id`",  "a b", "",   "*",    "'\"",
                                         "; rm -rf x", "$(id)", "\n",  "--", "ü\xff"};
    std::vector<std::string> arguments{"-c", R"(for word; do printf '<%s>' "$word"; done)", "name"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    std::string expected;
    for (const std::string& word : words) {
        expected += "<" + word + ">";
    }
    EXPECT_EQ(PosixChildProcesses().run(kShell, arguments, {})->output, expected);
}

TEST(ChildProcesses, EnvironmentIsHandedOn) {
    ::setenv("KORVEL_TEST_WORD", "a b", 1);
    EXPECT_EQ(outputOf("printf %s \"$KORVEL_TEST_WORD\""), "a b");
    ::unsetenv("KORVEL_TEST_WORD");
}

/// What descriptors a child finds open, beside that of the listing itself.
std::string openDescriptors() {
    return outputOf("for fd in 3 4 5 6 7 8 9; do (: >&$fd) 2>/dev/null && printf '%s ' $fd; done");
}

TEST(ChildProcesses, NoDescriptorOfTheProgramIsInherited) {
    std::vector<int> kept;
    for (int i = 0; i < 12; ++i) {
        kept.push_back(::open("/dev/null", O_RDWR)); // without close-on-exec, as libraries do
    }
    EXPECT_EQ(openDescriptors(), "");
    for (const int fd : kept) {
        ::close(fd);
    }
}

TEST(ChildProcesses, NoDescriptorStaysOpenInTheProgram) {
    const auto next = [] {
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(fd);
        return fd;
    };
    const int before = next();
    script("echo x", kBoth);
    script("echo x", kNone);
    PosixChildProcesses().run("/nonexistent/tool", {}, {});
    EXPECT_EQ(next(), before);
}

TEST(ChildProcesses, SignalsThatTheProgramIgnoresOrBlocksReachTheChild) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(script("kill -15 $$; echo still here")->status, -SIGTERM);
    EXPECT_EQ(script("kill -13 $$; echo still here")->status, -SIGPIPE);
    std::signal(SIGPIPE, ignored);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(ChildProcesses, ProgramStartedWithoutStandardStreamsCapturesAllTheSame) {
    const auto check = [] {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        const bool good = outputOf("echo out; echo error >&2") == "out\n" &&
                          outputOf("echo out; echo error >&2", kErrorOnly) == "error\n" &&
                          outputOf("echo out; echo error >&2", kBoth) == "out\nerror\n" &&
                          outputOf("cat; echo end") == "end\n";
        std::_Exit(good ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(ChildProcesses, NoDescriptorsLeftGivesNothing) {
    const auto check = [] {
        std::vector<int> all;
        for (int fd = 0; fd >= 0; fd = ::dup(STDIN_FILENO)) {
            all.push_back(fd);
        }
        const bool none = !script("echo x");
        ::close(all.back());
        std::_Exit(none && !script("echo x") ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(ChildProcesses, ThreadsRunChildrenAtOnceWithoutMixingThem) {
    constexpr int kThreads = 8;
    constexpr int kEach = 25;
    std::vector<int> wrong(kThreads, 0);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([number, &wrong] {
            const std::string word = std::to_string(number);
            for (int i = 0; i < kEach; ++i) {
                const auto result = script("printf '%s' " + word + "; exit " + word);
                if (!result || result->output != word || result->status != number) {
                    ++wrong[static_cast<std::size_t>(number)];
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(kThreads, 0));
}

TEST(ChildProcesses, ChildEndsForItsCallerWhileAnotherRunsOn) {
    // Had the long one a pipe of the short ones, these would not be over before it is: a hang.
    const fs::path go = fs::path(testing::TempDir()) / "korvel-go-on";
    fs::remove(go);
    std::thread other([&] {
        EXPECT_EQ(outputOf("while [ ! -e '" + go.string() + "' ]; do sleep 0.01; done; echo end"),
                  "end\n");
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(outputOf("echo x"), "x\n");
    }
    std::ofstream(go).close();
    other.join();
    fs::remove(go);
}

TEST(ChildProcesses, StartedChildIsNotWaitedForAndHasASessionOfItsOwn) {
    const fs::path told = fs::path(testing::TempDir()) / "korvel-started";
    const fs::path leave = fs::path(testing::TempDir()) / "korvel-may-end";
    for (const fs::path& pipe : {told, leave}) {
        fs::remove(pipe);
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    }
    // It cannot get past the opening of a pipe before that is opened here.
    ASSERT_TRUE(PosixChildProcesses().start(
        kShell,
        {"-c", R"(exec >"$0"; echo "$$ $2"; exec >&-; read line <"$1")", told, leave, "$HOME; x"}));
    int child = 0;
    std::string rest;
    std::ifstream reading(told);
    reading >> child;
    std::getline(reading, rest);
    EXPECT_EQ(::getsid(child), child);
    EXPECT_EQ(rest, " $HOME; x");
    std::ofstream(leave).close();
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    fs::remove(told);
    fs::remove(leave);
}

TEST(ChildProcesses, ChildrenGetTheEnvironmentOfBeforeItWasChanged) {
    ::setenv("KORVEL_KEPT", "as it was", 1);
    ::setenv("KORVEL_CHANGED", "before", 1);
    ::unsetenv("KORVEL_ADDED");
    PosixChildProcesses children;
    ::unsetenv("KORVEL_KEPT");
    ::setenv("KORVEL_CHANGED", "after", 1);
    ::setenv("KORVEL_ADDED", "later", 1);
    const auto result = children.run(
        kShell, {"-c", R"(echo "$KORVEL_KEPT|$KORVEL_CHANGED|${KORVEL_ADDED-none}")"}, {});
    EXPECT_EQ(result->output, "as it was|before|none\n");
    ::unsetenv("KORVEL_CHANGED");
    ::unsetenv("KORVEL_ADDED");
}

TEST(ChildProcesses, WhatCannotBeStartedIsTold) {
    EXPECT_FALSE(PosixChildProcesses().start("/nonexistent/tool", {}));
}

} // namespace
} // namespace korvel::platform
