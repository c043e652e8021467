#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/kernel_trees.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/process_name.h"
#include "platform/linux/kernel/process_status.h"

namespace korvel::platform {
namespace {

TEST(Statm, AnonymousMemoryIsResidentLessShared) {
    EXPECT_EQ(parseStatm("40220 21112 3112 8 0 20220 0\n")->anonymous(), 18000U);
    EXPECT_EQ(parseStatm("0 0 0 0 0 0 0\n"), Statm()) << "a kernel thread or a zombie";
    EXPECT_EQ(parseStatm("9 2 3\n")->anonymous(), 0U) << "the counters are not read at one instant";
    for (const char* bad : {"", "\n", "1\n", "1 2\n", "1 2 3", "1 x 3 0 0 0 0\n", "1 2 -3 0\n",
                            "1 99999999999999999999 3\n"}) {
        EXPECT_FALSE(parseStatm(bad)) << '"' << bad << '"';
    }
}

TEST(VmSwap, IsTheFieldOfThatNameInBytes) {
    EXPECT_EQ(parseVmSwap("Name:\tx\nVmSwap:\t     120 kB\nThreads:\t1\n"), 120 * kKiB);
    EXPECT_EQ(parseVmSwap("Name:\tx\nVmSwap:\t1 kB\nVmSwap:\t2 kB\n"), 1 * kKiB);
    EXPECT_EQ(parseVmSwap("Name:\tVmSwap:\t7 kB\nVmSwap:\t1 kB\n"), 1 * kKiB);
    for (const char* bad :
         {"", "Name:\tx\n", "Name:\tx\nVmSwap:\n", "Name:\tx\nVmSwap:\t1\n",
          "Name:\tx\nVmSwap:\tx kB\n", "Name:\tx\nVmSwap:\t-1 kB\n", "Name:\tx\nVmSwap:\t12",
          "Name:\tx\nVmSwap:\t1 MB\n", "Name:\tx\nVmSwap:\t18446744073709551615 kB\n"}) {
        EXPECT_FALSE(parseVmSwap(bad)) << '"' << bad << '"';
    }
}

TEST(StatusFields, AreFoundByTheirNames) {
    const std::string text =
        "Name:\tRssShmem:\t7 kB\nPPid:\t812\nRssShmem:\t  400384 kB\nVmSwap:\t1 kB\n";
    EXPECT_EQ(parseRssShmem(text), 400384 * kKiB);
    EXPECT_EQ(parseParent(text), 812);
    EXPECT_FALSE(parseRssShmem("Name:\tx\nVmSwap:\t1 kB\n")) << "an old kernel";
    EXPECT_FALSE(parseParent("Name:\tx\nPPid:\tx\n"));
    EXPECT_EQ(parsePssShmem("1-2 ---p 0 00:00 0 [rollup]\nPss: 9 kB\nPss_Shmem:  51200 kB\n"),
              51200 * kKiB);
    EXPECT_FALSE(parsePssShmem("1-2 ---p 0 00:00 0 [rollup]\nPss: 9 kB\n")) << "an old kernel";
}

TEST(LinuxSwappedMemory, IsVmSwapOrNone) {
    LinuxSwappedMemory memory(fixture("laptop"));
    EXPECT_EQ(memory.swappedOut(2210), 402112.0 * kKiB);
    EXPECT_EQ(memory.swappedOut(2420), 0.0);
    EXPECT_FALSE(memory.swappedOut(2)) << "a kernel thread";
    EXPECT_FALSE(memory.swappedOut(2417)) << "a zombie";
    EXPECT_FALSE(memory.swappedOut(99999)) << "not there";
}

TEST(LengthenedName, IsTheFileNameThatContinuesTheCutOne) {
    struct Case {
        const char* name;
        std::string comm;
        std::string commandLine;
        std::string expected;
    };
    for (const Case& c : std::vector<Case>{
             {"a program", "gnome-shell-cal",
              commandLine({"/usr/libexec/gnome-shell-calendar-server"}),
              "gnome-shell-calendar-server"},
             {"exactly fifteen bytes", "fifteen-bytes-x", commandLine({"/bin/fifteen-bytes-x"}),
              "fifteen-bytes-x"},
             {"a script", "a-long-script-n", commandLine({"/bin/sh", "/home/k/a-long-script-name"}),
              "a-long-script-name"},
             {"a script whose interpreter has an option", "a-long-script-n",
              commandLine({"/bin/python3", "-u", "./a-long-script-name.py", "x"}),
              "a-long-script-name.py"},
             {"a word further on does not count", "a-long-script-n",
              commandLine({"/bin/x", "1", "2", "/a-long-script-name"}), "a-long-script-n"},
             {"a name of its own", "Isolated Web Co",
              commandLine({"/usr/lib/firefox/firefox", "-x"}), "Isolated Web Co"},
             {"a title in one word", "a-long-daemon-n", "/opt/a-long-daemon-name: at /a/b",
              "a-long-daemon-name:"},
             {"blanks in the name", "My Long Applica", commandLine({"/opt/My Long Application"}),
              "My Long Application"},
             {"cut inside a character", "f\xc3\xbcnfzehn-byte\xc3",
              commandLine({"/bin/f\xc3\xbcnfzehn-byte\xc3\xa4-und-mehr"}),
              "f\xc3\xbcnfzehn-byte\xc3\xa4-und-mehr"},
             {"no command line", "fifteen-bytes-x", "", "fifteen-bytes-x"},
             {"not ended", "fifteen-bytes-x", "/bin/fifteen-bytes-xyz", "fifteen-bytes-xyz"},
             {"only ends", "fifteen-bytes-x", std::string(9, '\0'), "fifteen-bytes-x"},
             {"a folder of that name", "fifteen-bytes-x", commandLine({"/fifteen-bytes-xyz/run"}),
              "fifteen-bytes-x"},
         }) {
        EXPECT_EQ(lengthenedName(c.comm, c.commandLine), c.expected) << c.name;
    }
}

TEST(LengthenedName, HasAtMost255Bytes) {
    const std::string comm = "fifteen-bytes-x";
    const std::string name = comm + std::string(400, 'y');
    EXPECT_EQ(lengthenedName(comm, "/bin/" + name), name.substr(0, 255));
}

} // namespace
} // namespace korvel::platform
