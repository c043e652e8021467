#include "platform/linux/kernel/swap_room.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/kernel_trees.h"
#include "platform/linux/kernel/linux_machine.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
const std::string kHeading = "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n";

TEST(SwapRoom, OnADiskIsAllThatIsFreeAndInMemoryWhatCompressionGains) {
    struct Case {
        const char* name;
        SwapRoom room;
        std::uint64_t mebibytes;
    };
    const auto zram = [](std::uint64_t stored, std::uint64_t used) {
        return ZramUse{1, stored * kMiB, used * kMiB};
    };
    for (const Case& c : {
             Case{"a disk", {1000 * kMiB, 0, {}, {}}, 1000},
             Case{"compressed 4:1", {1000 * kMiB, 1000 * kMiB, zram(400, 100), {}}, 750},
             Case{"not compressible", {1000 * kMiB, 1000 * kMiB, zram(400, 400), {}}, 0},
             Case{"larger than stored", {1000 * kMiB, 1000 * kMiB, zram(400, 500), {}}, 0},
             Case{"hardly used so far", {1000 * kMiB, 1000 * kMiB, zram(15, 15), {}}, 500},
             Case{"just enough to tell", {1000 * kMiB, 1000 * kMiB, zram(16, 4), {}}, 750},
             Case{"both", {1000 * kMiB, 400 * kMiB, zram(400, 100), {}}, 600 + 300},
             Case{"more compressed than free", {100 * kMiB, 400 * kMiB, zram(400, 100), {}}, 75},
             Case{"little to swap", {1000 * kMiB, 0, {}, 30 * kMiB}, 30},
             Case{"little to swap, both",
                  {1000 * kMiB, 400 * kMiB, zram(400, 100), 700 * kMiB},
                  600 + 75},
         }) {
        EXPECT_EQ(c.room.bytes(), c.mebibytes * kMiB) << c.name;
    }
}

/// A machine of 4 GB with 2 % available, quiet, and 2 GB of swap of which half is free.
class NearlyFull : public testing::Test {
  protected:
    NearlyFull() {
        tree.write("proc/meminfo", "MemTotal: 4000000 kB\nMemFree: 60000 kB\n"
                                   "MemAvailable: 80000 kB\nActive(anon): 1800000 kB\n"
                                   "Inactive(anon): 200000 kB\nSwapTotal: 2000000 kB\n"
                                   "SwapFree: 1000000 kB\n");
        tree.write("proc/pressure/memory", "some avg10=0.00 total=0\nfull avg10=0.00 total=0\n");
        tree.write("proc/swaps", kHeading + "/dev/zram0 partition 2000000 1000000 100\n");
        tree.write("sys/block/zram0/mm_stat", "1024000000 300000000 333000000 0 0 0 0 0 0\n");
    }

    std::optional<std::int32_t> level() {
        return LinuxMachine(tree.root(), "/", calls).read()->memoryPressureLevel();
    }

    TempTree tree;
    CountingCalls calls;
};

TEST_F(NearlyFull, WithRoomInSwapIsAWarningAndWithoutCritical) {
    EXPECT_EQ(level(), 2) << "compression gains two thirds of what is free";
    tree.write("sys/block/zram0/mm_stat", "1024000000 1000000000 1000000000 0 0 0 0 0 0\n");
    EXPECT_EQ(level(), 4) << "compression gains nothing";
    tree.write("proc/swaps", kHeading + "/dev/sda2 partition 2000000 1000000 -2\n");
    EXPECT_EQ(level(), 2) << "the compressed device is no swap, a disk is";
    tree.remove("proc/swaps");
    EXPECT_EQ(level(), 4) << "the list is hidden: the device is taken for the swap";
}

TEST_F(NearlyFull, WhatCannotBeSwappedOutMakesNoRoom) {
    tree.write("proc/meminfo", "MemTotal: 4000000 kB\nMemFree: 60000 kB\nMemAvailable: 80000 kB\n"
                               "Active(anon): 20000 kB\nInactive(anon): 20000 kB\n"
                               "SwapTotal: 2000000 kB\nSwapFree: 2000000 kB\n");
    EXPECT_EQ(level(), 4);
}

TEST_F(NearlyFull, OfHugePagesThatAreSetAsideIsJudgedByTheRest) {
    tree.write("proc/meminfo", "MemTotal: 4000000 kB\nMemFree: 60000 kB\nMemAvailable: 80000 kB\n"
                               "SwapTotal: 0 kB\nSwapFree: 0 kB\nHugetlb: 3000000 kB\n");
    EXPECT_EQ(level(), 1) << "8 % of what is left beside them";
}

TEST_F(NearlyFull, ReadsWhichSwapIsCompressedAndWithEnoughMemoryDoesNot) {
    const std::string swaps = tree.root() + "/proc/swaps";
    level();
    EXPECT_EQ(calls.timesRead()[swaps], 1);
    tree.write("proc/meminfo", "MemTotal: 4000000 kB\nMemFree: 60000 kB\nMemAvailable: 800000 kB\n"
                               "SwapTotal: 2000000 kB\nSwapFree: 1000000 kB\n");
    level();
    EXPECT_EQ(calls.timesRead()[swaps], 1) << "not again";
}

} // namespace
} // namespace korvel::platform
