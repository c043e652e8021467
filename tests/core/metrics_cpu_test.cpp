#include <csignal>
#include <limits>

#include <gtest/gtest.h>

#include "core/metrics.h"
#include "support/simulated_sampler.h"

// The share of processor time, which needs two readings.
namespace korvel {
namespace {

using platform::CpuTicks;

struct CpuSampler : test::SimulatedSampler {
    double cpuPct(std::optional<CpuTicks> ticks) {
        readings.cpuTicks.set(ticks);
        clock.turn(5);
        return metrics.snapshot().cpuPct;
    }
};

constexpr std::uint32_t kMostTicks = std::numeric_limits<std::uint32_t>::max();

TEST(Cpu, FirstReadingIsZeroPercent) {
    CpuSampler sampler;
    EXPECT_EQ(sampler.cpuPct(CpuTicks{5000, 5000, 0, 0}), 0);
}

TEST(Cpu, ShareIsWhatWasNotIdleSinceTheLastReading) {
    const struct {
        const char* name;
        CpuTicks ticks;
        double pct;
    } cases[] = {
        {"idle", {100, 200, 400, 400}, 0},       {"user", {200, 200, 300, 400}, 100},
        {"system", {100, 300, 300, 400}, 100},   {"nice", {100, 200, 300, 500}, 100},
        {"all alike", {200, 300, 400, 500}, 75}, {"one in eight", {101, 200, 307, 400}, 12.5},
    };
    for (const auto& row : cases) {
        CpuSampler sampler;
        sampler.cpuPct(CpuTicks{100, 200, 300, 400});
        EXPECT_EQ(sampler.cpuPct(row.ticks), row.pct) << row.name;
    }
}

TEST(Cpu, EachReadingIsTheNextOnesBaseline) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{0, 0, 0, 0});
    EXPECT_EQ(sampler.cpuPct(CpuTicks{50, 0, 50, 0}), 50);
    EXPECT_EQ(sampler.cpuPct(CpuTicks{75, 0, 125, 0}), 25);
}

TEST(Cpu, NoTicksSinceTheLastReadingIsZeroPercent) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{1, 2, 3, 4});
    EXPECT_EQ(sampler.cpuPct(CpuTicks{1, 2, 3, 4}), 0);
    EXPECT_EQ(sampler.cpuPct(CpuTicks{2, 2, 3, 4}), 100);
}

TEST(Cpu, FailureIsZeroPercentAndKeepsTheBaseline) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{0, 0, 0, 0});
    EXPECT_EQ(sampler.cpuPct(std::nullopt), 0);
    EXPECT_EQ(sampler.cpuPct(CpuTicks{30, 0, 70, 0}), 30);
}

TEST(Cpu, FirstSuccessfulReadingIsZeroPercentWheneverItComes) {
    CpuSampler sampler;
    EXPECT_EQ(sampler.cpuPct(std::nullopt), 0);
    EXPECT_EQ(sampler.cpuPct(CpuTicks{900, 0, 100, 0}), 0);
    EXPECT_EQ(sampler.cpuPct(CpuTicks{910, 0, 190, 0}), 10);
}

TEST(Cpu, SumsOfDifferencesDoNotWrap) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{0, 0, 0, 0});
    EXPECT_EQ(sampler.cpuPct(CpuTicks{kMostTicks, kMostTicks, kMostTicks, kMostTicks}), 75);
}

TEST(CpuDeathTest, AnyCounterThatRunsBackwardsIsFatal) {
    for (std::uint32_t CpuTicks::*counter :
         {&CpuTicks::user, &CpuTicks::system, &CpuTicks::idle, &CpuTicks::nice}) {
        CpuSampler sampler;
        CpuTicks ticks{100, 100, 100, 100};
        sampler.cpuPct(ticks);
        ticks = {200, 200, 200, 200};
        ticks.*counter = 99;
        EXPECT_EXIT(sampler.cpuPct(ticks), testing::KilledBySignal(SIGABRT), "^$");
    }
}

TEST(CpuDeathTest, CounterThatWrapsIsFatal) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{kMostTicks, 0, 0, 0});
    EXPECT_EXIT(sampler.cpuPct(CpuTicks{0, 0, 10, 0}), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(CpuDeathTest, FailureInBetweenHidesNoStepBack) {
    CpuSampler sampler;
    sampler.cpuPct(CpuTicks{10, 10, 10, 10});
    sampler.cpuPct(std::nullopt);
    EXPECT_EXIT(sampler.cpuPct(CpuTicks{10, 10, 9, 10}), testing::KilledBySignal(SIGABRT), "^$");
}

} // namespace
} // namespace korvel
