#include "platform/linux/kernel/zfs_cache.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/kernel_trees.h"
#include "platform/linux/kernel/linux_machine.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

std::string arcstats(std::uint64_t size, std::uint64_t minimum) {
    return "13 1 0x01 147 39984 7340531234 1200345678901\nname                            type "
           "data\n"
           "hits                            4    91827364\n"
           "c                               4    8589934592\n"
           "c_min                           4    " +
           std::to_string(minimum) +
           "\nc_max                           4    8589934592\n"
           "size                            4    " +
           std::to_string(size) + "\noverhead_size                   4    1048576\n";
}

TEST(ZfsCache, CanGiveBackItsSizeLessItsMinimum) {
    EXPECT_EQ(parseZfsCache(arcstats(8000, 1000)), 7000U);
    EXPECT_EQ(parseZfsCache(arcstats(1000, 1000)), 0U);
    EXPECT_EQ(parseZfsCache(arcstats(900, 1000)), 0U) << "not below 0";
}

TEST(ZfsCache, OfADoubledLineTheFirstCountsAndOtherNamesArePassedOver) {
    EXPECT_EQ(parseZfsCache("size 4 50\nsize 4 70\nc_min 4 20\nc_min 4 1\n"), 30U);
    EXPECT_EQ(parseZfsCache("c_min_x 4 1\nl2_size 4 99\nc_min 4 20\nsize 4 50\n"), 30U);
}

TEST(ZfsCache, WithoutBothFiguresThereIsNone) {
    struct Case {
        const char* name;
        std::string text;
    };
    for (const Case& c : std::vector<Case>{
             {"empty", ""},
             {"garbage", "\xff\xfe\n\n"},
             {"no minimum", "size 4 50\n"},
             {"no size", "c_min 4 20\n"},
             {"no number", "size 4\nc_min 4 20\n"},
             {"negative", "size 4 -50\nc_min 4 20\n"},
             {"a fraction", "size 4 50.5\nc_min 4 20\n"},
             {"more than 64 bits", "size 4 99999999999999999999\nc_min 4 20\n"},
             {"cut in the number", "c_min 4 20\nsize 4 5"},
         }) {
        EXPECT_FALSE(parseZfsCache(c.text)) << c.name;
    }
}

std::uint64_t availableBytes(LinuxMachine& machine) {
    const auto reading = machine.read();
    const auto pages = reading->vmStatistics();
    return pages ? availablePages(*pages) * reading->pageSize() : 0;
}

TEST(ZfsCache, CountsAsAvailableForThePagesAndForThePressureLevel) {
    TempTree tree;
    tree.write("proc/meminfo", "MemTotal: 16000000 kB\nMemFree: 200000 kB\n"
                               "MemAvailable: 240000 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
    tree.write("proc/pressure/memory", "some avg10=0.00 total=0\nfull avg10=0.00 total=0\n");
    tree.write("proc/spl/kstat/zfs/arcstats", arcstats(9'000'000 * kKiB, 1'000'000 * kKiB));
    LinuxMachine machine(tree.root());
    EXPECT_EQ(availableBytes(machine), 8'240'000 * kKiB);
    EXPECT_EQ(machine.read()->vmStatistics()->free_count,
              200000 * kKiB / machine.read()->pageSize());
    EXPECT_EQ(machine.read()->memoryPressureLevel(), 1);

    tree.write("proc/spl/kstat/zfs/arcstats", arcstats(1'000'000 * kKiB, 1'000'000 * kKiB));
    EXPECT_EQ(availableBytes(machine), 240'000 * kKiB);
    EXPECT_EQ(machine.read()->memoryPressureLevel(), 4) << "the cache is at its minimum";

    tree.write("proc/spl/kstat/zfs/arcstats", arcstats(99'000'000 * kKiB, 1'000'000 * kKiB));
    EXPECT_EQ(availableBytes(machine), 16'000'000 * kKiB) << "no more than there is";
}

TEST(ZfsCache, IsReadOnceAReading) {
    TempTree tree;
    tree.copyFixture("laptop");
    tree.write("proc/spl/kstat/zfs/arcstats", arcstats(9000, 1000));
    CountingCalls calls;
    LinuxMachine machine(tree.root(), "/", calls);
    const auto reading = machine.read();
    reading->vmStatistics();
    reading->memoryPressureLevel();
    reading->physicalMemory();
    EXPECT_EQ(calls.timesRead()[tree.root() + "/proc/spl/kstat/zfs/arcstats"], 1);
}

} // namespace
} // namespace korvel::platform
