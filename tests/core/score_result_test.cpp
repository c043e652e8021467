#include <cmath>
#include <csignal>
#include <limits>

#include <gtest/gtest.h>

#include "support/readings.h"

// What the factors add up to: the score, the verdict, the runaway process.
namespace korvel {
namespace {

using test::above;
using test::below;
using test::factor;
using test::kInfinity;
using test::kNaN;
using test::perfectReadings;
using test::rawScore;
using test::scored;

std::vector<std::string> names(const Snapshot& s) {
    std::vector<std::string> all;
    for (const ScoreFactor& each : s.factors) {
        all.push_back(each.name);
    }
    return all;
}

Snapshot withCpu(double cpuPct) {
    Snapshot s = perfectReadings();
    s.cpuPct = cpuPct;
    return s;
}

TEST(Score, AllPerfectIsOneHundredExcellentInCreationOrder) {
    const Snapshot s = scored(perfectReadings());
    EXPECT_EQ(s.score, 100);
    EXPECT_EQ(s.verdict, "Excellent");
    EXPECT_TRUE(s.alerts.empty());
    EXPECT_EQ(names(s),
              (std::vector<std::string>{"Memory", "Disk", "CPU", "Load", "Swap", "Thermal"}));
    for (const ScoreFactor& each : s.factors) {
        EXPECT_EQ(each.lost(), 0) << each.name;
    }
}

TEST(Score, PointsAreAddedInCreationOrder) {
    Snapshot s = perfectReadings();
    s.memPressure = MemPressure::warning;
    s.diskFreeGB = 42.5;
    s.cpuPct = 69.75;
    s.load1 = 7.6;
    s.cores = 10;
    s.swappingNow = true;
    s.thermal = ThermalState::serious;
    // 11.7 + 13.8 + 4.84 + 3.36 + 3 + 2.8: exactly 39.5 in this order, just below it in others.
    EXPECT_EQ(scored(s).score, 40);
}

TEST(Score, EmptyReadingsScoreAsFailedOnes) {
    const Snapshot s = scored(Snapshot());
    EXPECT_EQ(factor(s, "Memory").health, 85);
    EXPECT_EQ(factor(s, "Disk").health, 15);
    EXPECT_EQ(s.alerts, std::vector<std::string>{"Disk critical: only 0GB left"});
    EXPECT_EQ(s.score, 76); // 22.1 + 3.6 + 16 + 14 + 12 + 8 = 75.7
    EXPECT_EQ(s.verdict, "Healthy");
}

TEST(Score, FactorsStandByPointsLostAndEqualsInCreationOrder) {
    Snapshot s = perfectReadings();
    s.swappingNow = true;               // loses 9
    s.thermal = ThermalState::critical; // loses 8
    s.cpuPct = 10;                      // loses 1.6
    EXPECT_EQ(names(scored(s)),
              (std::vector<std::string>{"Swap", "Thermal", "CPU", "Memory", "Disk", "Load"}));
}

TEST(Score, EachPassGivesTheFactorsNewIdentities) {
    const Snapshot one = scored(perfectReadings());
    const Snapshot other = scored(one);
    for (std::size_t i = 0; i < one.factors.size(); ++i) {
        for (std::size_t k = 0; k < other.factors.size(); ++k) {
            EXPECT_NE(one.factors[i].id, other.factors[k].id);
        }
    }
}

/// `s` with a processor share that makes its raw score exactly `raw`. Not every sum is met by the
/// share alone, so the load is nudged too.
Snapshot withRawScore(Snapshot s, double raw) {
    for (int nudge = 0; nudge < 50; ++nudge) {
        s.cpuPct = 0;
        s.cpuPct = (rawScore(scored(s)) - raw) / 0.16;
        for (int step = 0; step < 200; ++step) {
            const double now = rawScore(scored(s));
            if (now == raw) {
                return s;
            }
            s.cpuPct = now < raw ? below(s.cpuPct) : above(s.cpuPct);
        }
        s.load1 = s.load1 * (1 - 0x1p-40) + 0x1p-45;
    }
    return s;
}

TEST(Score, RoundsHalvesAwayFromZero) {
    Snapshot low;
    low.memPressure = MemPressure::critical;
    low.load1 = 1;
    low.thermal = ThermalState::critical;
    const struct {
        Snapshot readings;
        double raw;
        std::int64_t score;
    } cases[] = {
        {perfectReadings(), 84.5, 85},
        {perfectReadings(), 85.5, 86},
        {perfectReadings(), 87.5, 88},
        {perfectReadings(), below(87.5), 87},
        {perfectReadings(), 99.5, 100},
        {perfectReadings(), below(99.5), 99},
        {perfectReadings(), below(100), 100},
        {perfectReadings(), 86, 86},
        {low, 20.5, 21},
        {low, 21.5, 22},
        {low, below(20.5), 20},
        {low, 12.5, 13},
        {low, 0.5, 1},
        {low, 0.25, 0},
    };
    for (const auto& row : cases) {
        const Snapshot s = scored(withRawScore(row.readings, row.raw));
        ASSERT_EQ(rawScore(s), row.raw);
        EXPECT_EQ(s.score, row.score) << row.raw;
    }
}

TEST(Score, ReachesBothEnds) {
    Snapshot s;
    s.memPressure = MemPressure::critical;
    s.cpuPct = 100;
    s.load1 = 4;
    s.swappingNow = true;
    s.thermal = ThermalState::critical;
    const Snapshot worst = scored(s);
    EXPECT_EQ(worst.score, 9); // 2.6 + 3.6 + 0 + 0 + 3 + 0 = 9.2
    EXPECT_EQ(worst.verdict, "Critical");
    s.cpuPct = 1000; // out of its range: the raw score falls below 0
    EXPECT_EQ(scored(s).score, 0);
    s = perfectReadings();
    for (const double share : {-1000.0, -4.0}) {
        s.cpuPct = share;
        EXPECT_EQ(scored(s).score, 100) << share;
    }
}

TEST(Score, RawScoreThatIsNotANumberIsOneHundred) {
    const Snapshot s = scored(withCpu(kNaN));
    EXPECT_EQ(s.score, 100);
    EXPECT_EQ(s.verdict, "Excellent");
}

TEST(ScoreDeathTest, FreeSpaceWithoutAnIntegerIsFatal) {
    for (const double free : {kNaN, kInfinity, -kInfinity, 0x1p63}) {
        Snapshot s = perfectReadings();
        s.diskFreeGB = free;
        EXPECT_EXIT(Metrics::score(s), testing::KilledBySignal(SIGABRT), "^$") << free;
    }
}

/// Readings with a raw score near `target`, for the bounds of the verdicts.
Snapshot nearScore(double target) {
    Snapshot s = perfectReadings();
    double toLose = 100 - target;
    const auto take = [&](double most) {
        const double taken = toLose < most ? toLose : most;
        toLose -= taken;
        return taken;
    };
    s.cpuPct = take(16) / 0.16;
    s.load1 = take(14) / 14 * static_cast<double>(s.cores);
    if (toLose >= 23.4) {
        s.memPressure = MemPressure::critical;
        toLose -= 23.4;
    }
    s.diskFreeGB = 75 - take(20.4) / 0.24 / 85 * 65;
    if (toLose > 8) {
        s.swappingNow = true;
        toLose -= 9;
    }
    return toLose < 0 ? scored(nearScore(target + 9)) : s;
}

TEST(Verdict, ComesFromTheRoundedScore) {
    const struct {
        double raw;
        std::int64_t score;
        const char* verdict;
    } cases[] = {{99.6, 100, "Excellent"}, {88.1, 88, "Excellent"}, {87.51, 88, "Excellent"},
                 {87.49, 87, "Healthy"},   {72.1, 72, "Healthy"},   {71.51, 72, "Healthy"},
                 {71.49, 71, "Fair"},      {55.1, 55, "Fair"},      {54.51, 55, "Fair"},
                 {54.49, 54, "Strained"},  {35.1, 35, "Strained"},  {34.51, 35, "Strained"},
                 {34.49, 34, "Critical"},  {30.1, 30, "Critical"}};
    for (const auto& row : cases) {
        const Snapshot s = scored(nearScore(row.raw));
        EXPECT_EQ(s.score, row.score) << row.raw;
        EXPECT_EQ(s.verdict, row.verdict) << row.raw;
    }
}

/// Perfect readings with a heaviest process of that size.
Snapshot withHeaviest(double gb) {
    Snapshot s = perfectReadings();
    s.topProcs = {{77, "builder", gb}, {78, "other", 7}};
    return s;
}

TEST(Runaway, IsTheHeaviestProcessFromEightGigabytesUp) {
    for (const double gb : {8.0, above(8), 64.0}) {
        const Snapshot s = scored(withHeaviest(gb));
        ASSERT_TRUE(s.runaway) << gb;
        EXPECT_EQ(s.runaway->id, 77);
        EXPECT_EQ(s.score, 45) << gb;
        EXPECT_EQ(s.verdict, "Strained");
    }
    for (const double gb : {0.1, below(8), kNaN}) {
        const Snapshot s = scored(withHeaviest(gb));
        EXPECT_FALSE(s.runaway) << gb;
        EXPECT_EQ(s.score, 100) << gb;
    }
}

TEST(Runaway, OnlyTheFirstProcessIsExamined) {
    Snapshot s = perfectReadings();
    s.topProcs = {{1, "first", 7.9}, {2, "second", 20}};
    EXPECT_FALSE(scored(s).runaway);
    EXPECT_EQ(scored(s).score, 100);
}

TEST(Runaway, CapOnlyLowersTheScore) {
    Snapshot s = nearScore(80);
    s.topProcs = {{77, "builder", 8.0}};
    EXPECT_EQ(scored(s).score, 45);
    EXPECT_EQ(scored(s).verdict, "Strained");
    s = nearScore(30);
    s.topProcs = {{77, "builder", 8.0}};
    EXPECT_EQ(scored(s).score, 30);
    EXPECT_EQ(scored(s).verdict, "Critical");
}

TEST(Runaway, CapChangesNoFactor) {
    for (const ScoreFactor& each : scored(withHeaviest(50)).factors) {
        EXPECT_EQ(each.lost(), 0) << each.name;
    }
}

TEST(Runaway, IsGoneWhenTheNextReadingHasNone) {
    Snapshot s = scored(withHeaviest(9));
    s.topProcs.clear();
    EXPECT_FALSE(scored(s).runaway);
}

} // namespace
} // namespace korvel
