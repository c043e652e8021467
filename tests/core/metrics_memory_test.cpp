#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "core/metrics.h"
#include "support/simulated_sampler.h"

// Memory, its pressure, and whether the machine is swapping now.
namespace korvel {
namespace {

using platform::VmStatistics;

using Sampler = test::SimulatedSampler;

/// Pages of 16,384 bytes in one GiB.
constexpr std::uint32_t kGiBPages = 65536;

TEST(Memory, TotalAndCoresComeFromTheMachine) {
    Sampler sampler;
    sampler.readings.physicalMemory.value = std::uint64_t{24} << 30;
    sampler.readings.processorCount.value = 12;
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.memTotalGB, 24);
    EXPECT_EQ(s.cores, 12);
}

TEST(Memory, EachCountHasItsPlace) {
    VmStatistics vm;
    vm.active_count = 1 * kGiBPages;
    vm.wire_count = 2 * kGiBPages;
    vm.compressor_page_count = 4 * kGiBPages;
    Sampler sampler;
    sampler.readings.vm.set(vm);
    Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.memUsedGB, 7);
    EXPECT_EQ(s.compressedGB, 4);
    EXPECT_EQ(s.memPct, 43.75);
    EXPECT_EQ(s.memAvailableGB, 0);

    vm = VmStatistics();
    vm.free_count = 1 * kGiBPages;
    vm.inactive_count = 2 * kGiBPages;
    vm.speculative_count = 4 * kGiBPages;
    vm.purgeable_count = 8 * kGiBPages;
    sampler.readings.vm.set(vm);
    s = sampler.metrics.snapshot();
    EXPECT_EQ(s.memUsedGB, 0);
    EXPECT_EQ(s.compressedGB, 0);
    EXPECT_EQ(s.memPct, 0);
    EXPECT_EQ(s.memAvailableGB, 15) << "all four are added, though some overlap";
}

TEST(Memory, PagesAreOfTheMachinesSize) {
    VmStatistics vm;
    vm.active_count = kGiBPages;
    Sampler sampler;
    sampler.readings.vm.set(vm);
    sampler.readings.pageSize = 4096;
    EXPECT_EQ(sampler.metrics.snapshot().memUsedGB, 0.25);
}

TEST(Memory, SumsDoNotWrapAtThirtyTwoBits) {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    Sampler sampler;
    sampler.readings.pageSize = 4096;
    sampler.readings.vm.set(VmStatistics{kMost, kMost, kMost, kMost, kMost, kMost, kMost, 0});
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.memUsedGB, 3.0 * kMost * 4096 * 0x1p-30);
    EXPECT_EQ(s.memAvailableGB, 4.0 * kMost * 4096 * 0x1p-30);
}

TEST(Memory, ShareIsAtMostOneHundred) {
    VmStatistics vm;
    vm.active_count = 20 * kGiBPages;
    Sampler sampler;
    sampler.readings.vm.set(vm);
    EXPECT_EQ(sampler.metrics.snapshot().memPct, 100);
    vm.active_count = 16 * kGiBPages;
    sampler.readings.vm.set(vm);
    EXPECT_EQ(sampler.metrics.snapshot().memPct, 100);
    vm.active_count = 16 * kGiBPages + kGiBPages / 10;
    sampler.readings.vm.set(vm);
    EXPECT_EQ(sampler.metrics.snapshot().memPct, 100);
    vm.active_count = 16 * kGiBPages - 1;
    sampler.readings.vm.set(vm);
    EXPECT_LT(sampler.metrics.snapshot().memPct, 100);
}

TEST(Memory, OfLessThanOneGigabyteHasAShare) {
    VmStatistics vm;
    vm.active_count = kGiBPages / 4;
    Sampler sampler;
    sampler.readings.physicalMemory.value = std::uint64_t{1} << 29;
    sampler.readings.vm.set(vm);
    EXPECT_EQ(sampler.metrics.snapshot().memPct, 50);
}

TEST(Memory, ShareOfNoMemoryIsZero) {
    Sampler sampler;
    sampler.readings.physicalMemory.value = 0;
    EXPECT_EQ(sampler.metrics.snapshot().memPct, 0);
}

TEST(Memory, WithoutStatisticsNeitherPressureNorPageSizeIsAskedFor) {
    Sampler sampler;
    sampler.readings.vm.fails = true;
    sampler.readings.pressureLevel.set(4);
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.memUsedGB, 0);
    EXPECT_EQ(s.compressedGB, 0);
    EXPECT_EQ(s.memAvailableGB, 0);
    EXPECT_EQ(s.memPct, 0);
    EXPECT_EQ(s.memTotalGB, 16);
    EXPECT_EQ(s.memPressure, MemPressure::normal);
    EXPECT_FALSE(s.swappingNow);
    EXPECT_EQ(std::count(sampler.log.begin(), sampler.log.end(), "memoryPressureLevel"), 0);
    EXPECT_EQ(std::count(sampler.log.begin(), sampler.log.end(), "pageSize"), 0);
}

TEST(MemoryPressure, EveryLevelButTwoAndFourIsNormal) {
    const struct {
        std::optional<std::int32_t> level;
        MemPressure pressure;
    } cases[] = {
        {1, MemPressure::normal}, {2, MemPressure::warning}, {4, MemPressure::critical},
        {0, MemPressure::normal}, {3, MemPressure::normal},  {5, MemPressure::normal},
        {8, MemPressure::normal}, {-2, MemPressure::normal}, {std::nullopt, MemPressure::normal}};
    for (const auto& row : cases) {
        Sampler sampler;
        sampler.readings.pressureLevel.set(row.level);
        EXPECT_EQ(sampler.metrics.snapshot().memPressure, row.pressure) << row.level.value_or(-99);
    }
}

/// A sampler that has taken its first snapshot, with the swap-out counter at `start`.
struct Swapping : Sampler {
    explicit Swapping(std::uint64_t start = 1000) {
        readings.vm->swapouts = start;
        metrics.snapshot();
    }

    /// Whether it is swapping `seconds` later, with the counter at `count`.
    bool after(double seconds, std::uint64_t count) {
        clock.turn(seconds);
        readings.vm->swapouts = count;
        return metrics.snapshot().swappingNow;
    }
};

TEST(SwappingNow, FirstCheckOnlySetsTheBaseline) {
    for (const std::uint64_t count :
         {std::uint64_t{1000000000}, std::numeric_limits<std::uint64_t>::max()}) {
        Sampler sampler;
        sampler.readings.vm->swapouts = count;
        EXPECT_FALSE(sampler.metrics.snapshot().swappingNow) << count;
    }
}

TEST(SwappingNow, IsMoreThanOneHundredAndFiftyPagesASecond) {
    EXPECT_FALSE(Swapping().after(1, 1000));
    EXPECT_FALSE(Swapping().after(1, 1150)) << "exactly 150 a second is not";
    EXPECT_TRUE(Swapping().after(1, 1151));
    EXPECT_FALSE(Swapping().after(5, 1750));
    EXPECT_TRUE(Swapping().after(5, 1751));
    EXPECT_FALSE(Swapping().after(120, 1000 + 18000));
    EXPECT_TRUE(Swapping().after(120, 1000 + 18001));
}

TEST(SwappingNow, IsMeasuredOnlyOverGapsLongerThanHalfASecond) {
    EXPECT_FALSE(Swapping().after(0.3, 1000000));
    EXPECT_FALSE(Swapping().after(0.5, 1000000)) << "exactly half a second is too short";
    EXPECT_TRUE(Swapping().after(0.5000005, 1000000));
    EXPECT_FALSE(Swapping().after(0, 1000000));
}

TEST(SwappingNow, TooShortAGapStillSetsTheBaseline) {
    Swapping sampler;
    EXPECT_FALSE(sampler.after(0.3, 5000));
    EXPECT_FALSE(sampler.after(1, 5150)) << "measured from the check before";
    EXPECT_TRUE(sampler.after(1, 5301));
}

TEST(SwappingNow, CounterThatWentBackSetsTheBaseline) {
    Swapping sampler;
    EXPECT_FALSE(sampler.after(5, 10));
    EXPECT_TRUE(sampler.after(1, 10 + 151));
}

TEST(SwappingNow, ClockSetBackSetsTheBaseline) {
    Swapping sampler;
    EXPECT_FALSE(sampler.after(-3600, 1000000));
    EXPECT_TRUE(sampler.after(1, 1000151));
}

TEST(SwappingNow, ClockSetForwardHidesOneCheckAtMost) {
    Swapping sampler;
    EXPECT_FALSE(sampler.after(30 * 86400, 1000000));
    EXPECT_TRUE(sampler.after(1, 1000151));
}

TEST(SwappingNow, WhatWasWrittenBeforeANightAsleepIsOverByTheMorning) {
    Swapping sampler;
    EXPECT_FALSE(sampler.after(12 * 3600, 1000 + 500000)) << "8 GB, as the machine fell asleep";
    EXPECT_FALSE(sampler.after(5, 501000));
}

TEST(SwappingNow, FailedStatisticsKeepTheBaseline) {
    Swapping sampler;
    sampler.clock.turn(5);
    sampler.readings.vm.fails = true;
    EXPECT_FALSE(sampler.metrics.snapshot().swappingNow);
    sampler.readings.vm.set(VmStatistics());
    // 10 s and 1501 pages since the last check that counted.
    EXPECT_TRUE(sampler.after(5, 1000 + 1501));
    sampler.clock.turn(5);
    sampler.readings.vm.fails = true;
    sampler.metrics.snapshot();
    sampler.readings.vm.set(VmStatistics());
    EXPECT_FALSE(sampler.after(5, 2501 + 1500));
}

TEST(SwappingNow, CounterHasSixtyFourBits) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    EXPECT_TRUE(Swapping(kMost - 151).after(1, kMost));
    EXPECT_FALSE(Swapping(kMost - 150).after(1, kMost));
    EXPECT_TRUE(Swapping(0).after(1, kMost));
    EXPECT_TRUE(Swapping(std::uint64_t{1} << 32).after(1, (std::uint64_t{1} << 32) + 151));
}

TEST(SwappingNow, EachSamplerHasABaselineOfItsOwn) {
    Swapping one(1000);
    Swapping other(900000);
    EXPECT_FALSE(one.after(1, 1100));
    EXPECT_TRUE(other.after(1, 900200));
}

} // namespace
} // namespace korvel
