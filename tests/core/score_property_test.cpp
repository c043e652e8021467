#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/generator.h"
#include "support/readings.h"

// What holds for the scoring of any readings.
namespace korvel {
namespace {

using test::factor;
using test::factorSum;
using test::Generator;
using test::rawScore;
using test::scored;

constexpr const char* kCreationOrder[] = {"Memory", "Disk", "CPU", "Load", "Swap", "Thermal"};
constexpr int kReadings = 20000;

Snapshot anyReadings(Generator& random) {
    constexpr MemPressure kLevels[] = {MemPressure::normal, MemPressure::normal,
                                       MemPressure::warning, MemPressure::critical};
    Snapshot s;
    s.memPressure = kLevels[random.below(4)];
    s.memTotalGB = random.below(8) == 0 ? 0 : random.between(0.5, 512);
    s.memAvailableGB = random.between(0, 1) * s.memTotalGB;
    s.diskFreeGB = random.chance() ? random.between(0, 80) : random.between(0, 4000);
    s.cpuPct = random.below(8) == 0 ? 100 : random.between(0, 100);
    s.cores = static_cast<std::int64_t>(1 + random.below(256));
    s.load1 = random.between(0, 1.5) * static_cast<double>(s.cores);
    s.swappingNow = random.below(4) == 0;
    s.thermal = static_cast<ThermalState>(static_cast<int>(random.below(6)) - 1);
    for (std::uint64_t i = random.below(4); i > 0; --i) {
        s.topProcs.push_back({static_cast<std::int32_t>(i), "p", random.between(0.05, 12)});
    }
    return s;
}

TEST(AnyReadings, WeightsSumToOne) {
    Generator random(11);
    for (int i = 0; i < 100; ++i) {
        const Snapshot s = scored(anyReadings(random));
        EXPECT_NEAR(factorSum(s, [](const ScoreFactor& f) { return f.weight; }), 1, 1e-15);
    }
}

TEST(AnyReadings, ScoreIsTheRoundedSumInCreationOrderUnderTheRunawayCap) {
    Generator random(12);
    for (int i = 0; i < kReadings; ++i) {
        const Snapshot s = scored(anyReadings(random));
        double raw = rawScore(s);
        if (s.runaway && raw > 45) {
            raw = 45;
        }
        ASSERT_EQ(s.score, raw < 100 ? std::llround(raw) : 100);
        ASSERT_GE(s.score, 0);
        ASSERT_LE(s.score, 100);
        ASSERT_EQ(s.runaway.has_value(), !s.topProcs.empty() && s.topProcs[0].gb >= 8);
    }
}

TEST(AnyReadings, FactorsAreSortedByPointsLostAndEqualsStandInCreationOrder) {
    Generator random(13);
    const auto made = [](const ScoreFactor& f) {
        return std::find(std::begin(kCreationOrder), std::end(kCreationOrder), f.name);
    };
    for (int i = 0; i < kReadings; ++i) {
        const Snapshot s = scored(anyReadings(random));
        ASSERT_EQ(s.factors.size(), 6U);
        for (std::size_t k = 1; k < s.factors.size(); ++k) {
            const ScoreFactor& before = s.factors[k - 1];
            const ScoreFactor& after = s.factors[k];
            ASSERT_TRUE(before.lost() > after.lost() ||
                        (before.lost() == after.lost() && made(before) < made(after)));
        }
        const std::vector<ScoreFactor> bySeverity = s.factorsBySeverity();
        for (std::size_t k = 0; k < s.factors.size(); ++k) {
            ASSERT_EQ(bySeverity[k].id, s.factors[k].id);
        }
        ASSERT_EQ(s.worstFactor()->id, s.factors[0].id);
    }
}

TEST(AnyReadings, PointsLostAddUpToWhatTheUncappedScoreMisses) {
    Generator random(14);
    for (int i = 0; i < kReadings; ++i) {
        const Snapshot s = scored(anyReadings(random));
        ASSERT_NEAR(factorSum(s, [](const ScoreFactor& f) { return f.lost(); }), 100 - rawScore(s),
                    1e-12);
    }
}

TEST(AnyReadings, EveryFactorsHealthIsWithinItsRange) {
    Generator random(15);
    for (int i = 0; i < kReadings; ++i) {
        const Snapshot s = scored(anyReadings(random));
        for (const ScoreFactor& each : s.factors) {
            ASSERT_GE(each.health, 0) << each.name;
            ASSERT_LE(each.health, 100) << each.name;
        }
        ASSERT_GE(factor(s, "Disk").health, 15);
        if (s.memPressure == MemPressure::normal) {
            ASSERT_GE(factor(s, "Memory").health, 85);
        }
    }
}

TEST(AnyReadings, SameReadingsGiveTheSameResultButForTheIdentities) {
    Generator random(16);
    for (int i = 0; i < kReadings / 10; ++i) {
        const Snapshot readings = anyReadings(random);
        const Snapshot one = scored(readings);
        const Snapshot other = scored(readings);
        ASSERT_EQ(one.score, other.score);
        ASSERT_EQ(one.verdict, other.verdict);
        ASSERT_EQ(one.alerts, other.alerts);
        ASSERT_EQ(one.runaway, other.runaway);
        for (std::size_t k = 0; k < one.factors.size(); ++k) {
            ASSERT_EQ(one.factors[k].name, other.factors[k].name);
            ASSERT_EQ(one.factors[k].health, other.factors[k].health);
            ASSERT_EQ(one.factors[k].detail, other.factors[k].detail);
            ASSERT_NE(one.factors[k].id, other.factors[k].id);
        }
    }
}

TEST(AnyReadings, NoSecondPassChangesAnything) {
    Generator random(17);
    for (int i = 0; i < kReadings / 10; ++i) {
        const Snapshot once = scored(anyReadings(random));
        const Snapshot twice = scored(once);
        ASSERT_EQ(once.score, twice.score);
        ASSERT_EQ(once.alerts, twice.alerts);
        ASSERT_EQ(once.factors.size(), twice.factors.size());
    }
}

TEST(AnyReadings, NumbersThatAreNoneWhereTheyAreDefinedStillScore) {
    Generator random(18);
    constexpr double kOdd[] = {std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(), -0.0, 1e308};
    for (int i = 0; i < kReadings; ++i) {
        Snapshot s = anyReadings(random);
        double* const fields[] = {&s.memAvailableGB, &s.memTotalGB, &s.load1,    &s.cpuPct,
                                  &s.diskPct,        &s.swapPct,    &s.memUsedGB};
        *fields[random.below(std::size(fields))] = kOdd[random.below(std::size(kOdd))];
        s = scored(s);
        ASSERT_GE(s.score, 0);
        ASSERT_LE(s.score, 100);
        ASSERT_EQ(s.factors.size(), 6U);
        ASSERT_NE(s.verdict, "");
    }
}

} // namespace
} // namespace korvel
