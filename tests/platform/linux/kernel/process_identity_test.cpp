// Which process is meant by a pid, and that no other is asked to end.

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <functional>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/kernel/process_signal.h"
#include "platform/linux/kernel/process_texts.h"
#include "platform/linux/kernel/process_tree.h"

namespace korvel::platform {
namespace {

TEST(StartTime, IsTheTwentySecondFieldWhateverTheNameHolds) {
    const std::string behind = " S 1 2 3 0 -1 4194560 8 0 0 0 9 9 0 0 20 0 1 0 ";
    for (const std::string name : {"bash", "(sd-pam)", "a) R 1 2 3 4 5 6 (", "a)\nS 1", "", ")"}) {
        EXPECT_EQ(parseStartTime(fmt::format("41 ({}){}8125 1000 2000\n", name, behind)), 8125U)
            << name;
    }
    EXPECT_EQ(parseStartTime("41 (x)" + behind + "18446744073709551615 1 2\n"), ~std::uint64_t{0});
    for (const std::string& bad :
         {std::string(), std::string("\n"), std::string("41 (x) S 1 2\n"),
          "41 x" + behind + "8125 1\n", "41 (x)" + behind + "8125", "41 (x)" + behind + "-1 1\n",
          "41 (x)" + behind + "99999999999999999999 1\n", "41 (x)" + behind + "\n"}) {
        EXPECT_FALSE(parseStartTime(bad)) << bad;
    }
}

using StartTimes = ProcessTree;

TEST_F(StartTimes, AreReadOnceForAProcess) {
    process(5, "p", 100);
    started(5, 8125);
    for (int listing = 0; listing < 30; ++listing) {
        processes_.listAllPids();
        processes_.physFootprint(5);
        EXPECT_EQ(processes_.startTime(5), 8125U);
    }
    EXPECT_EQ(timesRead("5/stat"), 1);
    EXPECT_EQ(processes_.keptDescriptors(), 1U);
}

TEST_F(StartTimes, AreTheSuccessorsOnceThePidIsGivenAway) {
    process(5, "old", 100);
    started(5, 8125);
    processes_.listAllPids();
    processes_.physFootprint(5);
    EXPECT_EQ(processes_.startTime(5), 8125U);
    started(5, 9000);
    bool gone = true;
    calls_.failRead = [&](int) { return std::exchange(gone, false) ? ESRCH : 0; };
    processes_.physFootprint(5);
    EXPECT_EQ(processes_.startTime(5), 9000U);
    tree_.remove("proc/5");
    processes_.listAllPids();
    EXPECT_FALSE(processes_.startTime(5));
}

TEST_F(StartTimes, OfASuccessorAreNotTakenForThoseOfTheProcessThatWasMeasured) {
    process(5, "old", 100);
    started(5, 8125);
    processes_.listAllPids();
    processes_.physFootprint(5);
    int read = 0;
    calls_.failRead = [&](int) { return ++read == 2 ? ESRCH : 0; }; // it goes just before the look
    EXPECT_FALSE(processes_.startTime(5));
}

TEST_F(StartTimes, AreReadEachTimeWhereNothingWouldTellThatTheProcessHasGone) {
    for (const int pid : {4, 5}) {
        process(pid, "p", 100);
        started(pid, 8125);
    }
    LinuxProcesses few(tree_.root(), calls_, 1);
    few.listAllPids();
    few.physFootprint(4);
    few.physFootprint(5);
    EXPECT_EQ(few.startTime(5), 8125U);
    started(5, 9000);
    EXPECT_EQ(few.startTime(5), 9000U);
}

TEST_F(StartTimes, ThatCannotBeReadAreNone) {
    process(5, "p", 100);
    processes_.listAllPids();
    processes_.physFootprint(5);
    EXPECT_FALSE(processes_.startTime(5));
    tree_.write("proc/5/stat", "5 (p) S 1\n");
    EXPECT_FALSE(processes_.startTime(5));
}

// On the kernel's own processes.

/// A child that waits to be ended, under a pid that was asked for or any.
class Sleeper {
  public:
    explicit Sleeper(pid_t wanted = 0) {
        clone_args arguments{};
        arguments.exit_signal = SIGCHLD;
        if (wanted != 0) {
            arguments.set_tid = reinterpret_cast<std::uintptr_t>(&wanted);
            arguments.set_tid_size = 1;
        }
        pid_ = static_cast<pid_t>(::syscall(SYS_clone3, &arguments, sizeof arguments));
        if (pid_ == 0) {
            for (;;) {
                ::pause();
            }
        }
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;
    ~Sleeper() { end(SIGKILL); }

    pid_t pid() const { return pid_; } ///< -1: there is none, and errno tells why

    /// The signal that it ends by, after it was sent `signal`.
    int end(int signal) {
        int status = 0;
        if (pid_ > 0) {
            ::kill(pid_, signal);
            ::waitpid(pid_, &status, 0);
            pid_ = -1;
        }
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    /// The signal that it ends by, if one is on its way; it is sent none.
    int endedBy() {
        // It is stopped and goes on; a signal that was sent before ends it before it stops.
        siginfo_t info{};
        ::kill(pid_, SIGSTOP);
        ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WSTOPPED | WNOWAIT);
        ::kill(pid_, SIGCONT);
        return info.si_code == CLD_KILLED ? info.si_status : 0;
    }

  private:
    pid_t pid_ = -1;
};

/// Until the kernel's clock of start times has gone past a time.
void passTick(std::uint64_t startTime) {
    timespec now{};
    do {
        ::clock_gettime(CLOCK_BOOTTIME, &now);
    } while (static_cast<std::uint64_t>(now.tv_sec) * 100 +
                 static_cast<std::uint64_t>(now.tv_nsec) / 10'000'000 <=
             startTime);
}

TEST(LiveStartTimes, TheProcessThatWasListedIsAskedToEnd) {
    LinuxProcesses processes;
    Sleeper sleeper;
    ASSERT_GT(sleeper.pid(), 0);
    processes.listAllPids();
    processes.physFootprint(sleeper.pid());
    const auto startTime = processes.startTime(sleeper.pid());
    ASSERT_TRUE(startTime);
    processes.terminateIfSame(sleeper.pid(), *startTime + 1);
    processes.terminateIfSame(sleeper.pid(), std::nullopt);
    EXPECT_EQ(sleeper.endedBy(), 0);
    processes.terminateIfSame(sleeper.pid(), startTime);
    EXPECT_EQ(sleeper.endedBy(), SIGTERM);
}

TEST(LiveStartTimes, AnotherProcessThatHasGotThePidLives) {
    LinuxProcesses processes;
    Sleeper listed;
    const pid_t pid = listed.pid();
    ASSERT_GT(pid, 0);
    processes.listAllPids();
    processes.physFootprint(pid);
    const auto startTime = processes.startTime(pid);
    ASSERT_TRUE(startTime);
    listed.end(SIGKILL);
    passTick(*startTime);
    Sleeper successor(pid);
    if (successor.pid() < 0 && (errno == EPERM || errno == ENOSYS)) {
        GTEST_SKIP() << "no process can be given a pid here: " << std::strerror(errno);
    }
    ASSERT_EQ(successor.pid(), pid) << std::strerror(errno);
    processes.terminateIfSame(pid, startTime);
    EXPECT_EQ(successor.endedBy(), 0);
    processes.physFootprint(pid);
    const auto its = processes.startTime(pid);
    EXPECT_NE(its, startTime);
    processes.terminateIfSame(pid, its);
    EXPECT_EQ(successor.endedBy(), SIGTERM);
}

/// Refuses the making of handles for processes in this process, and in all it starts, for good.
bool refuseHandles(int error) {
    const std::uint32_t refusal = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
    std::array<sock_filter, 4> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, refusal),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{filter.size(), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(LiveStartTimes, WithoutHandlesTheLookDecidesToo) {
    for (const int error : {ENOSYS, EPERM, EINVAL}) {
        Sleeper spared;
        Sleeper asked;
        const pid_t child = ::fork();
        if (child == 0) {
            if (!refuseHandles(error) || ::syscall(SYS_pidfd_open, ::getpid(), 0) != -1 ||
                errno != error) {
                ::_exit(1);
            }
            LinuxProcesses processes;
            const auto startTime = processes.startTime(spared.pid());
            processes.terminateIfSame(spared.pid(), startTime.value_or(0) + 1);
            processes.terminateIfSame(asked.pid(), processes.startTime(asked.pid()));
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (status != 0) {
            GTEST_SKIP() << "system calls cannot be refused here";
        }
        EXPECT_EQ(spared.endedBy(), 0) << error;
        EXPECT_EQ(asked.endedBy(), SIGTERM) << error;
    }
}

TEST(LiveStartTimes, GroupsAreNeverMeant) {
    for (const std::int32_t pid : {0, -1, -::getpid()}) {
        terminateIf(pid, [] {
            ADD_FAILURE();
            return false;
        });
    }
}

} // namespace
} // namespace korvel::platform
