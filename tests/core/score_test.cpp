#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/readings.h"

// The six factors. What is made of them is in score_result_test.cpp, the words in
// score_texts_test.cpp.
namespace korvel {
namespace {

using test::above;
using test::below;
using test::factor;
using test::factorAfter;
using test::kInfinity;
using test::kNaN;
using test::perfectReadings;
using test::scored;

TEST(Thresholds, AreThoseOfTheProgram) {
    EXPECT_EQ(Metrics::runawayGB, 8.0);
    EXPECT_EQ(Metrics::diskWarnGB, 25.0);
    EXPECT_EQ(Metrics::diskCritGB, 10.0);
}

TEST(Factors, HaveTheirWeights) {
    const Snapshot s = scored(perfectReadings());
    ASSERT_EQ(s.factors.size(), 6U);
    EXPECT_EQ(factor(s, "Memory").weight, 0.26);
    EXPECT_EQ(factor(s, "Disk").weight, 0.24);
    EXPECT_EQ(factor(s, "CPU").weight, 0.16);
    EXPECT_EQ(factor(s, "Load").weight, 0.14);
    EXPECT_EQ(factor(s, "Swap").weight, 0.12);
    EXPECT_EQ(factor(s, "Thermal").weight, 0.08);
}

TEST(MemoryHealth, FollowsAvailabilityUnderNormalPressure) {
    const struct {
        double available;
        double total;
        double health;
    } cases[] = {
        {0, 16, 85},
        {1.6, 16, 85 + 75 * 1.6 / 16},
        {3.2, 16, 100},
        {below(3.2), 16, 100},
        {3.1, 16, 85 + 75 * 3.1 / 16},
        {16, 16, 100},
        {32, 16, 100},
        {5, 0, 85},
        {5, -1, 85},
        {0.05, 0.5, 92.5},
        {0, 0, 85},
        {0, kInfinity, 85},
    };
    for (const auto& row : cases) {
        const double health = factorAfter("Memory", [&](Snapshot& s) {
                                  s.memAvailableGB = row.available;
                                  s.memTotalGB = row.total;
                              }).health;
        EXPECT_NEAR(health, row.health, 1e-12) << row.available << " of " << row.total;
        EXPECT_LE(health, 100);
    }
}

TEST(MemoryHealth, CapTurnsNaNIntoFullHealth) {
    EXPECT_EQ(factorAfter("Memory", [](Snapshot& s) { s.memAvailableGB = kNaN; }).health, 100);
    EXPECT_EQ(
        factorAfter("Memory", [](Snapshot& s) { s.memAvailableGB = s.memTotalGB = kInfinity; })
            .health,
        100);
}

TEST(MemoryHealth, PressureOverridesAvailabilityCompletely) {
    for (const double available : {0.0, 8.0, 14.4, 16.0}) {
        const auto health = [&](MemPressure pressure) {
            return factorAfter("Memory",
                               [&](Snapshot& s) {
                                   s.memPressure = pressure;
                                   s.memAvailableGB = available;
                               })
                .health;
        };
        EXPECT_EQ(health(MemPressure::warning), 45) << available;
        EXPECT_EQ(health(MemPressure::critical), 10) << available;
    }
}

TEST(DiskHealth, RunsStraightFromTenToSeventyFiveGigabytes) {
    const struct {
        double freeGB;
        double health;
    } cases[] = {{0, 15},      {-1, 15},  {below(10), 15},  {10, 15},  {23, 32},
                 {42.5, 57.5}, {75, 100}, {above(75), 100}, {1e6, 100}};
    for (const auto& row : cases) {
        EXPECT_EQ(factorAfter("Disk", [&](Snapshot& s) { s.diskFreeGB = row.freeGB; }).health,
                  row.health)
            << row.freeGB;
    }
    const auto health = [](double freeGB) {
        return factorAfter("Disk", [&](Snapshot& s) { s.diskFreeGB = freeGB; }).health;
    };
    EXPECT_NEAR(health(above(10)), 15, 1e-9);
    EXPECT_NEAR(health(below(75)), 100, 1e-9);
    EXPECT_LT(health(74.9), 100);
    EXPECT_GT(health(10.1), 15);
}

TEST(DiskHealth, WhatIsNotReportedCostsNoPoints) {
    for (const double freeGB : {0.0, 9.0, 20.0, 100.0}) {
        const ScoreFactor disk = factorAfter("Disk", [&](Snapshot& s) {
            s.diskFreeGB = freeGB;
            s.unreported.dataVolume = true;
        });
        EXPECT_EQ(disk.health, 100) << freeGB;
        EXPECT_EQ(disk.detail, "not reported here") << freeGB;
    }
}

TEST(DiskHealth, IgnoresThePercentage) {
    for (const double pct : {0.0, 50.0, 99.9, 100.0, kNaN}) {
        EXPECT_EQ(factorAfter("Disk", [&](Snapshot& s) { s.diskPct = pct; }).health, 100) << pct;
    }
}

TEST(CpuHealth, IsWhatIsNotBusy) {
    for (const double pct : {0.0, 12.5, 50.0, 99.5, 100.0}) {
        EXPECT_EQ(factorAfter("CPU", [&](Snapshot& s) { s.cpuPct = pct; }).health, 100 - pct);
    }
}

TEST(LoadHealth, IsZeroFromOneRunnablePerCore) {
    const struct {
        double load;
        std::int64_t cores;
        double health;
    } cases[] = {{0, 10, 100}, {5, 10, 50},  {below(10), 10, 0}, {10, 10, 0},   {above(10), 10, 0},
                 {20, 10, 0},  {1000, 1, 0}, {0.25, 1, 75},      {32, 128, 75}, {kInfinity, 4, 0}};
    for (const auto& row : cases) {
        const double health = factorAfter("Load", [&](Snapshot& s) {
                                  s.load1 = row.load;
                                  s.cores = row.cores;
                              }).health;
        EXPECT_NEAR(health, row.health, 1e-12) << row.load << " on " << row.cores;
        EXPECT_GE(health, 0);
    }
}

TEST(LoadHealth, CapTurnsNaNIntoNoHealth) {
    EXPECT_EQ(factorAfter("Load", [](Snapshot& s) { s.load1 = kNaN; }).health, 0);
}

TEST(SwapHealth, DependsOnSwappingNowAndNotOnTheAmount) {
    for (const double used : {0.0, 1.0, 64.0}) {
        const auto health = [&](bool swapping) {
            return factorAfter("Swap",
                               [&](Snapshot& s) {
                                   s.swappingNow = swapping;
                                   s.swapUsedGB = used;
                                   s.swapTotalGB = 64;
                                   s.swapPct = used / 64 * 100;
                               })
                .health;
        };
        EXPECT_EQ(health(true), 25) << used;
        EXPECT_EQ(health(false), 100) << used;
    }
}

TEST(ThermalHealth, UnknownStatesAreNotHeldAgainstTheMachine) {
    const struct {
        int raw;
        double health;
    } cases[] = {{0, 100}, {1, 75}, {2, 35}, {3, 0}, {4, 100}, {7, 100}, {-1, 100}};
    for (const auto& row : cases) {
        EXPECT_EQ(factorAfter("Thermal",
                              [&](Snapshot& s) { s.thermal = static_cast<ThermalState>(row.raw); })
                      .health,
                  row.health)
            << row.raw;
    }
}

} // namespace
} // namespace korvel
