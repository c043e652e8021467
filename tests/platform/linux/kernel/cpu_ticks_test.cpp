#include "platform/linux/kernel/cpu_ticks.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using Ticks = std::array<std::uint64_t, ProcessorTicks::kCounters>;

ProcessorTicks processor(std::uint32_t number, const Ticks& ticks) {
    ProcessorTicks result;
    result.number = number;
    result.ticks = ticks;
    return result;
}

/// user, system, idle, nice
using Counts = std::array<std::uint32_t, 4>;

Counts counts(const std::optional<CpuTicks>& ticks) {
    return ticks ? Counts{ticks->user, ticks->system, ticks->idle, ticks->nice}
                 : Counts{9999, 9999, 9999, 9999};
}

TEST(KernelStat, ReadsTheProcessorsAndTheBootTime) {
    const KernelStat stat = parseKernelStat("cpu  30 0 0 0 0 0 0 0 0 0\n"
                                            "cpu0 1 2 3 4 5 6 7 8 9 10\n"
                                            "cpu7 11 12 13 14 15 16 17 18 0 0\n"
                                            "intr 5 1 2 3\nctxt 9\nbtime 1763600000\n");
    ASSERT_EQ(stat.processors.size(), 2U);
    EXPECT_EQ(stat.processors[0].number, 0U);
    EXPECT_EQ(stat.processors[0].ticks, (Ticks{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(stat.processors[1].number, 7U);
    EXPECT_EQ(stat.processors[1].ticks, (Ticks{11, 12, 13, 14, 15, 16, 17, 18}));
    EXPECT_EQ(stat.btime, 1763600000);
}

TEST(KernelStat, WhatAnOldKernelDoesNotCountIsZero) {
    const KernelStat stat = parseKernelStat("cpu0 1 2 3 4\n");
    ASSERT_EQ(stat.processors.size(), 1U);
    EXPECT_EQ(stat.processors[0].ticks, (Ticks{1, 2, 3, 4, 0, 0, 0, 0}));
}

TEST(KernelStat, ALineThatCannotBeReadIsLeftOut) {
    struct Case {
        const char* name;
        std::string text;
    };
    for (const Case& c : std::vector<Case>{
             {"empty", ""},
             {"garbage", std::string("\xff\0cpu0\n", 7)},
             {"the sum alone", "cpu  1 2 3 4 5 6 7 8\n"},
             {"too few counters", "cpu0 1 2 3\n"},
             {"text", "cpu0 1 2 x 4\n"},
             {"negative", "cpu0 1 2 -3 4\n"},
             {"too large", "cpu0 1 2 99999999999999999999 4\n"},
             {"text in a later counter", "cpu0 1 2 3 4 5 six 7 8\n"},
             {"a number that is none", "cpux 1 2 3 4\n"},
             {"a number beyond any machine", "cpu4294967295 1 2 3 4\n"},
             {"cut short", "cpu0 1 2 3 4 5 6 7 8 9 1"},
         }) {
        EXPECT_TRUE(parseKernelStat(c.text).processors.empty()) << c.name;
        EXPECT_FALSE(parseKernelStat(c.text).btime) << c.name;
    }
    EXPECT_FALSE(parseKernelStat("btime\n").btime);
    EXPECT_FALSE(parseKernelStat("btime x\n").btime);
    EXPECT_FALSE(parseKernelStat("btime 1763600000").btime) << "cut short";
    EXPECT_FALSE(parseKernelStat("btime 18446744073709548016\n").btime)
        << "an hour before 1970, as a clock that was set back leaves it";
}

TEST(KernelStat, OfADoubledLineTheFirstCounts) {
    const KernelStat stat =
        parseKernelStat("cpu1 1 1 1 1\ncpu0 5 5 5 5\ncpu1 9 9 9 9\nbtime 3\nbtime 4\n");
    ASSERT_EQ(stat.processors.size(), 2U);
    EXPECT_EQ(stat.processors[0].ticks[0], 1U);
    EXPECT_EQ(stat.btime, 3);
}

TEST(CpuTickAccumulator, TheFirstReadingIsTheZeroOfAll) {
    CpuTickAccumulator ticks;
    EXPECT_EQ(counts(ticks.add({processor(0, {500, 40, 300, 90000, 70, 6, 5, 4})})),
              (Counts{0, 0, 0, 0}));
}

TEST(CpuTickAccumulator, InterruptsAndStolenTimeAreSystemAndWaitingIsIdle) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {})});
    EXPECT_EQ(
        counts(ticks.add({processor(0, {1, 20, 300, 4000, 50000, 600000, 7000000, 80000000})})),
        (Counts{1, 300 + 600000 + 7000000 + 80000000, 4000 + 50000, 20}));
}

TEST(CpuTickAccumulator, WithoutProcessorsThereIsNoReadingAndNothingIsForgotten) {
    CpuTickAccumulator ticks;
    EXPECT_FALSE(ticks.add({}));
    ticks.add({processor(0, {100, 0, 0, 100, 0, 0, 0, 0})});
    EXPECT_FALSE(ticks.add({}));
    EXPECT_EQ(counts(ticks.add({processor(0, {130, 0, 0, 150, 0, 0, 0, 0})})),
              (Counts{30, 0, 50, 0}));
}

TEST(CpuTickAccumulator, ACounterThatStepsBackIsHeldAtItsHighest) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {0, 0, 0, 1000, 500, 0, 0, 0})});
    EXPECT_EQ(counts(ticks.add({processor(0, {10, 0, 0, 1100, 600, 0, 0, 0})})),
              (Counts{10, 0, 200, 0}));
    EXPECT_EQ(counts(ticks.add({processor(0, {20, 0, 0, 1050, 590, 0, 0, 0})})),
              (Counts{20, 0, 200, 0}));
    EXPECT_EQ(counts(ticks.add({processor(0, {30, 0, 0, 1101, 601, 0, 0, 0})})),
              (Counts{30, 0, 202, 0}));
}

TEST(CpuTickAccumulator, OneProcessorsStepBackIsNotHiddenByAnothersAdvance) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {0, 0, 0, 1000}), processor(1, {0, 0, 0, 1000})});
    ticks.add({processor(0, {0, 0, 0, 1200}), processor(1, {0, 0, 0, 900})});
    EXPECT_EQ(counts(ticks.add({processor(0, {0, 0, 0, 1200}), processor(1, {0, 0, 0, 1000})})),
              (Counts{0, 0, 100, 0}))
        << "regained ground is not counted twice";
}

TEST(CpuTickAccumulator, ManyProcessorsCountAsTheirMeanWithNothingLost) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {}), processor(1, {}), processor(2, {})});
    Counts last{};
    for (std::uint64_t i = 1; i <= 30; ++i) {
        last = counts(ticks.add(
            {processor(0, {i, 0, 0, 0}), processor(1, {0, 0, 0, i}), processor(2, {0, 0, 0, i})}));
    }
    EXPECT_EQ(last, (Counts{10, 0, 20, 0}));
}

TEST(CpuTickAccumulator, AProcessorThatGoesAndComesBackNeitherFallsNorJumps) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {0, 0, 0, 1000}), processor(1, {0, 0, 0, 5000})});
    EXPECT_EQ(counts(ticks.add({processor(0, {0, 0, 0, 1100})})), (Counts{0, 0, 100, 0}));
    // Back with its counters started afresh, then once more with larger ones.
    EXPECT_EQ(counts(ticks.add({processor(0, {0, 0, 0, 1200}), processor(1, {0, 0, 0, 0})})),
              (Counts{0, 0, 150, 0}));
    EXPECT_EQ(counts(ticks.add({processor(0, {0, 0, 0, 1300}), processor(1, {0, 0, 0, 100})})),
              (Counts{0, 0, 250, 0}));
    ticks.add({processor(0, {0, 0, 0, 1300})});
    EXPECT_EQ(counts(ticks.add({processor(0, {0, 0, 0, 1300}), processor(1, {0, 0, 0, 900000})})),
              (Counts{0, 0, 250, 0}));
}

TEST(CpuTickAccumulator, AProcessorThatStartedAnewBetweenTwoReadingsIsNotTakenForBusy) {
    // What Linux 6.1 gave before and after a processor was offline: only its idle time starts at 0.
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {79, 0, 114, 111000, 33, 3, 4, 18}),
               processor(1, {52, 0, 60, 112673, 13, 3, 1, 2})});
    EXPECT_EQ(counts(ticks.add({processor(0, {80, 0, 116, 112500, 33, 3, 4, 18}),
                                processor(1, {52, 0, 61, 183, 0, 3, 1, 2})})),
              (Counts{0, 1, 750, 0}))
        << "of the second nothing counts";
    EXPECT_EQ(counts(ticks.add({processor(0, {80, 0, 116, 113000, 33, 3, 4, 18}),
                                processor(1, {52, 0, 61, 683, 0, 3, 1, 2})})),
              (Counts{0, 1, 1250, 0}))
        << "all of it again";
}

TEST(CpuTickAccumulator, StartedAnewIsWhatFellByMoreThanAMinute) {
    for (const auto& [fallen, added] :
         {std::pair<std::uint64_t, std::uint32_t>{6000, 0}, {6001, 100}}) {
        CpuTickAccumulator ticks;
        ticks.add({processor(0, {0, 0, 0, 90000, 20000, 0, 0, 0})});
        ticks.add({processor(0, {0, 0, 0, 90000, 20000 - fallen, 0, 0, 0})});
        EXPECT_EQ(
            counts(ticks.add({processor(0, {0, 0, 0, 90000, 20000 - fallen + 100, 0, 0, 0})})),
            (Counts{0, 0, added, 0}))
            << fallen;
    }
}

TEST(CpuTickAccumulator, NewProcessorsWithLargeNumbersAreTakenIn) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {})});
    ticks.add({processor(0, {}), processor(511, {7, 0, 0, 0})});
    EXPECT_EQ(counts(ticks.add({processor(0, {10, 0, 0, 0}), processor(511, {17, 0, 0, 0})})),
              (Counts{10, 0, 0, 0}));
}

TEST(CpuTickAccumulator, YearsOf128IdleProcessorsNeitherWrapNorFall) {
    constexpr std::uint32_t kProcessors = 128;
    constexpr std::uint64_t kDay = 100 * 86400; // ticks of one processor
    CpuTickAccumulator ticks;
    CpuTicks before;
    std::uint32_t lastStep = 0;
    for (std::uint64_t day = 0; day <= 6 * 365; ++day) {
        std::vector<ProcessorTicks> reading;
        for (std::uint32_t number = 0; number < kProcessors; ++number) {
            reading.push_back(
                processor(number, {day * kDay / 4, 0, 0, day * kDay / 4 * 3, 0, 0, 0, 0}));
        }
        const auto now = ticks.add(reading);
        ASSERT_TRUE(now);
        ASSERT_GE(now->idle, before.idle) << "day " << day;
        ASSERT_GE(now->user, before.user) << "day " << day;
        lastStep = now->idle - before.idle;
        const std::uint32_t busy = now->user - before.user;
        if (day > 0) {
            ASSERT_EQ(lastStep, busy * 3) << "a quarter busy, on day " << day;
        }
        before = *now;
    }
    EXPECT_GT(lastStep, 0U) << "still counting after six years";
}

TEST(CpuTickAccumulator, AtItsEndAllFourCountersStandStill) {
    constexpr std::uint64_t kStep = std::uint64_t{1} << 31;
    CpuTickAccumulator ticks;
    CpuTicks last;
    std::uint64_t idle = 0;
    for (std::uint64_t i = 0; i < 64; ++i, idle += kStep) {
        last = *ticks.add({processor(0, {i, 0, 0, idle, 0, 0, 0, 0})});
    }
    const auto after = ticks.add({processor(0, {100000, 0, 0, idle + kStep, 0, 0, 0, 0})});
    ASSERT_TRUE(after);
    EXPECT_EQ(counts(after), counts(last));
    EXPECT_GT(after->idle, std::numeric_limits<std::uint32_t>::max() / 8 * 7);
}

TEST(CpuTickAccumulator, ANonsensicalJumpIsNotCounted) {
    CpuTickAccumulator ticks;
    ticks.add({processor(0, {0, 0, 0, 10})});
    ticks.add({processor(0, {0, 0, 0, 20})});
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(counts(ticks.add({processor(0, {most, most, most, most, most, most, most, most})})),
              (Counts{0, 0, 10, 0}));
}

} // namespace
} // namespace korvel::platform
