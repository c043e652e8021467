#include "platform/linux/kernel/linux_processes.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/kernel/process_tree.h"

namespace korvel::platform {
namespace {

TEST_F(ProcessTree, NumbersAloneAreProcessesAndTheyAreInOrder) {
    for (const int pid : {300, 7, 41}) {
        process(pid, "p", 1);
    }
    tree_.write("proc/self/comm", "x\n");
    tree_.write("proc/12ab/comm", "x\n");
    tree_.write("proc/-3/comm", "x\n");
    tree_.write("proc/0/comm", "x\n");
    tree_.write("proc/007/comm", "x\n");
    tree_.write("proc/99999999999/comm", "x\n");
    tree_.write("proc/loadavg", "x\n");
    EXPECT_EQ(processes_.listAllPids(), (std::vector<std::int32_t>{7, 41, 300}));
}

TEST_F(ProcessTree, WithoutATableTheListIsEmpty) {
    EXPECT_TRUE(processes_.listAllPids().empty());
    EXPECT_FALSE(processes_.physFootprint(1));
    EXPECT_EQ(processes_.name(1), "");
    process(1, "p", 1);
    EXPECT_EQ(processes_.listAllPids().size(), 1U) << "and it is there once it can be read";
}

TEST_F(ProcessTree, SwappedOutMemoryBelongsToTheFootprintWhileSwapIsInUse) {
    process(5, "p", 100, 40);
    swap(1000, 1000);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage) << "none in use";
    swap(1000, 999);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage + 40 * kKiB);
    swap(0, 0);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage);
    EXPECT_EQ(processes_.keptDescriptors(), 1U) << "the status file is given back";
}

TEST_F(ProcessTree, StatusIsReadOnlyWhileSwapIsInUse) {
    process(5, "p", 100, 40);
    swap(1000, 1000);
    processes_.listAllPids();
    processes_.physFootprint(5);
    for (const std::string& path : calls_.paths) {
        EXPECT_FALSE(path.ends_with("status")) << path;
    }
    swap(1000, 10);
    processes_.listAllPids();
    processes_.physFootprint(5);
    EXPECT_EQ(calls_.paths.back(), "5/status");
}

TEST_F(ProcessTree, SwappedOutMemoryIsReadAgainWhenTheOtherFiguresChange) {
    process(5, "p", 100, 40);
    swap(1000, 10);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage + 40 * kKiB);
    process(5, "p", 90, 80);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 90 * kPage + 80 * kKiB);
}

TEST_F(ProcessTree, SwappedOutMemoryIsReadAgainWithinTwelveListingsInAnyCase) {
    constexpr int kListings = 12;
    for (int pid = 1; pid <= kListings; ++pid) {
        process(pid, "p", 100, 40);
    }
    swap(1000, 10);
    for (const std::int32_t pid : processes_.listAllPids()) {
        EXPECT_EQ(processes_.physFootprint(pid), 100 * kPage + 40 * kKiB);
    }
    for (int pid = 1; pid <= kListings; ++pid) {
        process(pid, "p", 100, 80);
    }
    for (int listing = 1; listing <= kListings; ++listing) {
        int renewed = 0;
        for (const std::int32_t pid : processes_.listAllPids()) {
            renewed += processes_.physFootprint(pid) == 100 * kPage + 80 * kKiB ? 1 : 0;
        }
        EXPECT_EQ(renewed, listing) << "one process in twelve at each";
    }
}

TEST_F(ProcessTree, SwappedOutMemoryIsForgottenWithTheProcessAndWithTheSwap) {
    process(5, "p", 100, 40);
    swap(1000, 10);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage + 40 * kKiB);
    swap(1000, 1000);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage);
    process(5, "p", 100, 80);
    swap(1000, 10);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage + 80 * kKiB);
    tree_.remove("proc/5");
    processes_.listAllPids();
    process(5, "q", 100, 7);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage + 7 * kKiB);
}

TEST_F(ProcessTree, AProcessThatVanishesBetweenListingAndReadingHasNothing) {
    process(5, "p", 100);
    process(6, "q", 100);
    EXPECT_EQ(processes_.listAllPids().size(), 2U);
    tree_.remove("proc/5");
    EXPECT_FALSE(processes_.physFootprint(5));
    EXPECT_EQ(processes_.name(5), "");
    EXPECT_TRUE(processes_.physFootprint(6));
}

TEST_F(ProcessTree, SpoiltFilesHaveNoFootprint) {
    for (const std::string& text :
         {std::string(), std::string("\n"), std::string("\0\xff 2 3\n", 7), std::string("1 2"),
          std::string("a b c d e f g\n"), std::string(10000, '1')}) {
        process(5, "p", 100);
        tree_.write("proc/5/statm", text);
        processes_.listAllPids();
        EXPECT_FALSE(processes_.physFootprint(5)) << '"' << text.substr(0, 20) << '"';
    }
    process(5, "p", 100);
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage);
    swap(1000, 10);
    tree_.write("proc/5/status", "Name:\tp\nVmSwap:\tmany kB\n");
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage) << "what is known stands";
}

TEST_F(ProcessTree, OthersAreHiddenWhereTheFirstProcessIsAndThatIsLookedAtOnceAMinute) {
    process(5, "mine", 100);
    EXPECT_FALSE(processes_.hidesOthers()) << "not listed yet";
    for (int listing = 0; listing < 25; ++listing) {
        processes_.listAllPids();
        processes_.physFootprint(5);
        EXPECT_TRUE(processes_.hidesOthers());
    }
    const auto looks = [&] {
        return std::count(calls_.paths.begin(), calls_.paths.end(), "1/statm");
    };
    EXPECT_EQ(looks(), 3);
    process(1, "init", 100);
    processes_.listAllPids();
    processes_.physFootprint(1);
    EXPECT_FALSE(processes_.hidesOthers());
    const auto before = looks();
    for (int listing = 0; listing < 25; ++listing) {
        processes_.listAllPids();
        processes_.physFootprint(1);
        EXPECT_FALSE(processes_.hidesOthers());
    }
    EXPECT_EQ(looks(), before) << "known by its kept file";
}

TEST_F(ProcessTree, OthersAreHiddenWhereTheirFilesAreRefusedAndNotWhereDescriptorsAreShort) {
    struct Case {
        int error;
        bool expected;
    };
    process(1, "init", 100);
    process(5, "mine", 100);
    for (const Case& c : std::vector<Case>{{EPERM, true}, {EACCES, true}, {EMFILE, false}}) {
        calls_.failOpen = [&](const std::string& path) { return path == "1/statm" ? c.error : 0; };
        LinuxProcesses processes(tree_.root(), calls_, 1000);
        processes.listAllPids();
        EXPECT_FALSE(processes.physFootprint(1));
        EXPECT_EQ(processes.hidesOthers(), c.expected) << c.error;
    }
}

TEST_F(ProcessTree, NamesAreHandedOnAsTheyAre) {
    struct Case {
        const char* name;
        std::string comm;
    };
    int pid = 10;
    for (const Case& c : std::vector<Case>{
             {"plain", "bash"},
             {"a newline", "two\nlines"},
             {"a newline at its end", "end\n"},
             {"brackets", "(sd-pam) )R 1 ("},
             {"blanks", "  a b  "},
             {"fifteen bytes", "fifteen-bytes-x"},
             {"an escape", "\x1b[31mred"},
             {"right to left", "\xe2\x80\xae"
                               "exe"},
             {"not UTF-8", "\xff\xfe\xc3"},
             {"a cut character", "f\xc3\xbcnfzehn-byte\xc3"},
             {"empty", ""},
             {"a kernel worker", "kworker/0:1H-kblockd"},
         }) {
        process(++pid, c.comm, 1);
        EXPECT_EQ(processes_.name(pid), c.comm) << c.name;
    }
}

TEST_F(ProcessTree, ANameIsLengthenedFromTheCommandLineAndFollowsAChange) {
    process(5, "gnome-shell-cal", 1);
    tree_.write("proc/5/cmdline", commandLine({"/usr/libexec/gnome-shell-calendar-server", "-x"}));
    EXPECT_EQ(processes_.name(5), "gnome-shell-calendar-server");
    const int opens = calls_.opens;
    EXPECT_EQ(processes_.name(5), "gnome-shell-calendar-server");
    EXPECT_EQ(calls_.opens, opens) << "known from before";
    tree_.write("proc/5/comm", "another-program\n");
    tree_.write("proc/5/cmdline", commandLine({"/usr/bin/another-program-altogether"}));
    EXPECT_EQ(processes_.name(5), "another-program-altogether");
    tree_.write("proc/5/comm", "short\n");
    EXPECT_EQ(processes_.name(5), "short");
}

TEST_F(ProcessTree, TheRecordedLaptopsProcessesAreRead) {
    LinuxProcesses processes(fixture("laptop"));
    EXPECT_EQ(processes.listAllPids(),
              (std::vector<std::int32_t>{1, 2, 61, 1803, 1990, 2210, 2302, 2417, 2420}));
    EXPECT_EQ(processes.physFootprint(2), 0U) << "a kernel thread";
    EXPECT_EQ(processes.physFootprint(2417), 0U) << "a zombie";
    EXPECT_EQ(processes.physFootprint(2210), (302112 - 90112) * kPage + 402112 * kKiB);
    EXPECT_EQ(processes.name(1990), "gnome-shell-calendar-server");
    EXPECT_EQ(processes.name(2302), "Isolated Web Co");
    EXPECT_EQ(processes.name(2420), "a-long-script-name.py");
    EXPECT_EQ(processes.name(61), "kworker/0:1H-kblockd");
}

TEST_F(ProcessTree, InTheSteadyStateNothingIsOpened) {
    for (int pid = 1; pid <= 50; ++pid) {
        process(pid, pid % 2 == 0 ? "fifteen-bytes-x" : "p", 100, 40);
    }
    swap(1000, 10);
    const auto sample = [&] {
        for (const std::int32_t pid : processes_.listAllPids()) {
            EXPECT_TRUE(processes_.physFootprint(pid));
            EXPECT_FALSE(processes_.name(pid).empty());
        }
    };
    sample();
    const int opens = calls_.opens;
    for (int repeat = 0; repeat < 20; ++repeat) {
        sample();
    }
    EXPECT_EQ(calls_.opens, opens);
    EXPECT_EQ(processes_.keptDescriptors(), 3U * 50);
    process(51, "new", 100);
    sample();
    EXPECT_EQ(calls_.opens, opens + 3) << "those of the new process";
}

TEST_F(ProcessTree, DescriptorsOfProcessesThatAreGoneAreClosed) {
    for (int pid = 1; pid <= 50; ++pid) {
        process(pid, "p", 100);
    }
    for (const std::int32_t pid : processes_.listAllPids()) {
        processes_.physFootprint(pid);
    }
    EXPECT_EQ(processes_.keptDescriptors(), 50U);
    for (int pid = 11; pid <= 50; ++pid) {
        tree_.remove("proc/" + std::to_string(pid));
    }
    EXPECT_EQ(processes_.listAllPids().size(), 10U);
    EXPECT_EQ(processes_.keptDescriptors(), 10U);
}

TEST_F(ProcessTree, ThoseThatStayAreKeptWhereverOthersComeAndGo) {
    const std::vector<int> rounds[] = {{10, 20, 30, 40},
                                       {20, 40},
                                       {5, 20, 35, 40, 50},
                                       {10, 20, 30, 40, 50},
                                       {50},
                                       {1, 2, 50, 60},
                                       {60},
                                       {2, 60},
                                       {2, 3, 59, 60, 61}};
    std::vector<int> before;
    std::map<int, int> pagesOf;
    int pages = 100;
    for (const std::vector<int>& pids : rounds) {
        for (const int pid : before) {
            if (std::find(pids.begin(), pids.end(), pid) == pids.end()) {
                tree_.remove("proc/" + std::to_string(pid));
            }
        }
        std::map<std::int32_t, std::uint64_t> expected;
        int anew = 0;
        for (const int pid : pids) {
            if (std::find(before.begin(), before.end(), pid) == before.end()) {
                process(pid, "p", ++pages);
                pagesOf[pid] = pages;
                ++anew;
            }
            expected[pid] = static_cast<std::uint64_t>(pagesOf[pid]) * kPage;
        }
        const int opens = calls_.opens;
        EXPECT_EQ(footprints(), expected);
        EXPECT_EQ(processes_.keptDescriptors(), pids.size());
        if (!before.empty()) {
            EXPECT_EQ(calls_.opens - opens, anew) << "those that stayed were open";
        }
        before = pids;
    }
}

TEST_F(ProcessTree, AKeptFileOfAProcessThatIsGoneMakesWayForItsSuccessor) {
    process(5, "old", 100);
    processes_.listAllPids();
    EXPECT_EQ(processes_.physFootprint(5), 100 * kPage);
    EXPECT_EQ(processes_.name(5), "old");
    bool gone = true;
    calls_.failRead = [&](int) { return std::exchange(gone, false) ? ESRCH : 0; };
    tree_.remove("proc/5");
    process(5, "new", 7);
    EXPECT_EQ(processes_.physFootprint(5), 7 * kPage);
    EXPECT_EQ(processes_.name(5), "new");
    calls_.failRead = [](int) { return ESRCH; };
    EXPECT_FALSE(processes_.physFootprint(5));
    EXPECT_EQ(processes_.name(5), "");
    EXPECT_EQ(processes_.keptDescriptors(), 0U);
}

TEST_F(ProcessTree, BeyondItsShareOfDescriptorsFilesAreOpenedEachTime) {
    for (int pid = 1; pid <= 20; ++pid) {
        process(pid, "p", pid);
    }
    LinuxProcesses few(tree_.root(), calls_, 5);
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (const std::int32_t pid : few.listAllPids()) {
            EXPECT_EQ(few.physFootprint(pid), static_cast<std::uint64_t>(pid) * kPage);
            EXPECT_EQ(few.name(pid), "p");
        }
        EXPECT_EQ(few.keptDescriptors(), 5U);
    }
}

TEST_F(ProcessTree, WhenTheProgramRunsOutOfDescriptorsSomeAreGivenBack) {
    for (int pid = 1; pid <= 200; ++pid) {
        process(pid, "p", pid);
    }
    int left = 150;
    calls_.failOpen = [&](const std::string&) { return left-- > 0 ? 0 : EMFILE; };
    const std::vector<std::int32_t> pids = processes_.listAllPids();
    ASSERT_EQ(pids.size(), 200U);
    std::size_t most = 0;
    for (const std::int32_t pid : pids) {
        if (!processes_.physFootprint(pid)) {
            left = 1000; // others in the program have closed theirs
        }
        most = std::max(most, processes_.keptDescriptors());
    }
    EXPECT_GT(most, 100U);
    EXPECT_LT(processes_.keptDescriptors(), most);
    for (const std::int32_t pid : processes_.listAllPids()) {
        EXPECT_EQ(processes_.physFootprint(pid), static_cast<std::uint64_t>(pid) * kPage);
    }
}

TEST_F(ProcessTree, AnyThreadMayAskAtAnyTime) {
    for (int pid = 1; pid <= 40; ++pid) {
        process(pid, "p", pid);
    }
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 50; ++repeat) {
                for (const std::int32_t pid : processes_.listAllPids()) {
                    wrong += processes_.physFootprint(pid) != std::uint64_t(pid) * kPage ? 1 : 0;
                    wrong += processes_.name(pid) != "p" ? 1 : 0;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

// On the kernel's own /proc.

TEST(LiveProcesses, AZombieHasNoFootprintAndAReapedProcessNone) {
    LinuxProcesses processes;
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte = 0;
        ::close(ends[1]);
        ::_exit(static_cast<int>(::read(ends[0], &byte, 1)));
    }
    ::close(ends[0]);
    EXPECT_GT(processes.physFootprint(child).value_or(0), 0U);
    EXPECT_FALSE(processes.name(child).empty());
    ::close(ends[1]);
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(processes.physFootprint(child), 0U);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_FALSE(processes.physFootprint(child));
    EXPECT_EQ(processes.name(child), "");
}

TEST(LiveProcesses, TerminateAsksTheProcessAndNeverAGroup) {
    LinuxProcesses processes;
    const pid_t child = ::fork();
    if (child == 0) {
        for (;;) {
            ::pause();
        }
    }
    processes.terminate(0);
    processes.terminate(-child);
    processes.terminate(child);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(processes.currentProcessIdentifier(), ::getpid());
}

TEST(DescriptorLimit, IsRaisedToTheMostThatIsAllowed) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit low = before;
    low.rlim_cur = std::min<rlim_t>(before.rlim_max, 256);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    raiseDescriptorLimit();
    rlimit after{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &after), 0);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

} // namespace
} // namespace korvel::platform
