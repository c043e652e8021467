#include "platform/linux/kernel/meminfo.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/kernel_trees.h"

namespace korvel::platform {
namespace {

constexpr std::uint64_t kSmallPage = 4096;

TEST(Meminfo, FieldsAreReadInBytes) {
    const auto memory = parseMeminfo("MemTotal:       16116236 kB\n"
                                     "MemFree:          731932 kB\n"
                                     "SwapTotal:             0 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->memTotal, 16116236 * kKiB);
    EXPECT_EQ(memory->memFree, 731932 * kKiB);
    EXPECT_EQ(memory->swapTotal, 0U);
    EXPECT_FALSE(memory->memAvailable);
    EXPECT_FALSE(memory->swapFree);
}

struct BadMeminfo {
    const char* name;
    std::string text;
};

TEST(Meminfo, WithoutAReadableTotalThereIsNoReading) {
    const std::vector<BadMeminfo> cases = {
        {"empty", ""},
        {"newlines only", "\n\n\n"},
        {"garbage", std::string("\x7f\x45LF\0\xff\xfe\n\x01:\x02\n", 12)},
        {"text", "MemTotal: lots kB\n"},
        {"another total", "MemTotals: 1 kB\n"},
        {"zero", "MemTotal: 0 kB\n"},
        {"negative", "MemTotal: -1 kB\n"},
        {"a fraction", "MemTotal: 1.5 kB\n"},
        {"hexadecimal", "MemTotal: 0x10 kB\n"},
        {"no number", "MemTotal: kB\n"},
        {"no unit", "MemTotal: 16\n"},
        {"another unit", "MemTotal: 16 MB\n"},
        {"a word too many", "MemTotal: 16 kB more\n"},
        {"more than 64 bits", "MemTotal: 99999999999999999999 kB\n"},
        {"more than 64 bits of bytes", "MemTotal: 18446744073709551615 kB\n"},
        {"cut in the number", "MemTotal:  161"},
        {"cut before the newline", "MemTotal: 16116236 kB"},
    };
    for (const BadMeminfo& bad : cases) {
        EXPECT_FALSE(parseMeminfo(bad.text)) << bad.name;
    }
}

TEST(Meminfo, AFieldThatCannotBeReadIsNoneAndTheOthersStand) {
    const auto memory = parseMeminfo("MemTotal: 100 kB\nMemFree: x kB\nMemAvailable: 50 kB\n"
                                     "SwapTotal: 12 kB\nSwapFree: 1");
    ASSERT_TRUE(memory);
    EXPECT_FALSE(memory->memFree);
    EXPECT_EQ(memory->memAvailable, 50 * kKiB);
    EXPECT_EQ(memory->swapTotal, 12 * kKiB);
    EXPECT_FALSE(memory->swapFree) << "cut short";
}

TEST(Meminfo, OfADoubledFieldTheFirstCounts) {
    const auto memory = parseMeminfo("MemTotal: 100 kB\nMemTotal: 7 kB\nMemFree: 9 kB\n"
                                     "MemFree: 8 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->memTotal, 100 * kKiB);
    EXPECT_EQ(memory->memFree, 9 * kKiB);
}

TEST(Meminfo, UnknownFieldsAndLinesArePassedOver) {
    const auto memory = parseMeminfo("Future(x): 3 pages\nno colon here\nHugePages_Total: 4\n"
                                     "MemTotal: 100 kB\nMemFree: 9 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->memFree, 9 * kKiB);
}

TEST(AvailableMemory, IsTheKernelsEstimateAndAtMostTheTotal) {
    Meminfo memory;
    memory.memTotal = 1000;
    memory.memFree = 100;
    memory.memAvailable = 700;
    EXPECT_EQ(availableMemory(memory), 700U);
    memory.memAvailable = 1001;
    EXPECT_EQ(availableMemory(memory), 1000U);
}

TEST(AvailableMemory, OnAnOldKernelIsFreeMemoryAndWhatCachesCouldGiveBack) {
    Meminfo memory;
    memory.memTotal = 1000;
    EXPECT_FALSE(availableMemory(memory));
    memory.memFree = 100;
    EXPECT_EQ(availableMemory(memory), 100U);
    memory.buffers = 20;
    memory.cached = 200;
    memory.shmem = 50;
    memory.sReclaimable = 7;
    EXPECT_EQ(availableMemory(memory), 100U + 20 + (200 - 50) + 7);
    memory.shmem = 300;
    EXPECT_EQ(availableMemory(memory), 100U + 20 + 7);
    memory.cached = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(availableMemory(memory), 1000U);
}

TEST(MeminfoSwap, NeedsBothFiguresAndUsedIsTheDifference) {
    Meminfo memory;
    memory.swapTotal = 100;
    EXPECT_FALSE(swapUsage(memory));
    memory.swapFree = 30;
    ASSERT_TRUE(swapUsage(memory));
    EXPECT_EQ(swapUsage(memory)->xsu_total, 100U);
    EXPECT_EQ(swapUsage(memory)->xsu_avail, 30U);
    EXPECT_EQ(swapUsage(memory)->xsu_used, 70U);
    memory.swapFree = 101;
    EXPECT_EQ(swapUsage(memory)->xsu_used, 0U);
    EXPECT_EQ(swapUsage(memory)->xsu_avail, 100U);
    memory.swapTotal.reset();
    EXPECT_FALSE(swapUsage(memory));
}

TEST(MeminfoPages, AvailableIsTheKernelsFigureAndAllTogetherIsTheTotal) {
    Meminfo memory;
    memory.memTotal = 1000 * kSmallPage;
    memory.memFree = 100 * kSmallPage;
    memory.memAvailable = 300 * kSmallPage;
    memory.sUnreclaim = 40 * kSmallPage;
    memory.kernelStack = 3 * kSmallPage;
    memory.pageTables = 5 * kSmallPage;
    memory.secPageTables = 1 * kSmallPage;
    memory.percpu = 2 * kSmallPage;
    memory.mlocked = 4 * kSmallPage;
    memory.hugetlb = 50 * kSmallPage;
    memory.balloon = 10 * kSmallPage;
    const auto pages = vmStatistics(memory, 60 * kSmallPage, kSmallPage);
    ASSERT_TRUE(pages);
    EXPECT_EQ(availablePages(*pages), 300U);
    EXPECT_EQ(pages->free_count, 100U);
    EXPECT_EQ(pages->compressor_page_count, 60U);
    EXPECT_EQ(pages->wire_count, 115U);
    EXPECT_EQ(usedPages(*pages), 700U);
}

TEST(MeminfoPages, FiguresThatDoNotFitAreCutSoThatTheSumsHold) {
    struct Case {
        const char* name;
        std::uint64_t free, available, kernel, compressed;
    };
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    for (const Case& c :
         {Case{"more free than available", 500, 300, 0, 0},
          Case{"more compressed than used", 100, 300, 50, 900},
          Case{"more kernel than used", 100, 300, 900, 50},
          Case{"all available", 1000, 1000, 50, 50}, Case{"none available", 0, 0, 50, 50},
          Case{"nonsense", most / kSmallPage, 300, most / kSmallPage, most / kSmallPage}}) {
        Meminfo memory;
        memory.memTotal = 1000 * kSmallPage;
        memory.memFree = c.free * kSmallPage;
        memory.memAvailable = c.available * kSmallPage;
        memory.sUnreclaim = c.kernel * kSmallPage;
        memory.percpu = c.kernel * kSmallPage;
        const auto pages = vmStatistics(memory, c.compressed * kSmallPage, kSmallPage);
        ASSERT_TRUE(pages) << c.name;
        EXPECT_EQ(availablePages(*pages), c.available) << c.name;
        EXPECT_EQ(usedPages(*pages), 1000 - c.available) << c.name;
    }
}

TEST(MeminfoPages, CountsStopAtTheLimitOf32Bits) {
    Meminfo memory;
    memory.memTotal = std::uint64_t{1} << 60;
    memory.memFree = memory.memTotal / 2;
    memory.memAvailable = memory.memTotal / 2;
    const auto pages = vmStatistics(memory, 0, kSmallPage);
    ASSERT_TRUE(pages);
    EXPECT_EQ(pages->free_count, std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(pages->active_count, std::numeric_limits<std::uint32_t>::max());
}

TEST(MeminfoPages, WithoutFreeOrAvailableMemoryThereIsNoReading) {
    Meminfo memory;
    memory.memTotal = 1000 * kSmallPage;
    EXPECT_FALSE(vmStatistics(memory, 0, kSmallPage));
    memory.memAvailable = 10 * kSmallPage;
    EXPECT_TRUE(vmStatistics(memory, 0, kSmallPage));
    EXPECT_FALSE(vmStatistics(memory, 0, 0));
}

} // namespace
} // namespace korvel::platform
