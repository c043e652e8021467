#include "core/snapshot.h"

#include <functional>
#include <type_traits>

#include <gtest/gtest.h>

#include "platform/simulated/processes.h"

namespace korvel {
namespace {

// Plain values: copied and moved freely, whole.
static_assert(std::is_copy_assignable_v<Snapshot> &&
              std::is_nothrow_move_constructible_v<Snapshot>);
static_assert(std::is_copy_assignable_v<ScoreFactor> && std::is_copy_assignable_v<ProcInfo>);
static_assert(std::is_same_v<std::underlying_type_t<MemPressure>, int>);
static_assert(std::is_same_v<decltype(ProcInfo::id), std::int32_t>);

std::vector<std::string> names(const std::vector<ScoreFactor>& factors) {
    std::vector<std::string> all;
    for (const ScoreFactor& factor : factors) {
        all.push_back(factor.name);
    }
    return all;
}

using Names = std::vector<std::string>;

TEST(ScoreFactor, TakesNameWeightHealthDetail) {
    const ScoreFactor factor("CPU", 0.16, 40, "60% busy");
    EXPECT_EQ(factor.name, "CPU");
    EXPECT_EQ(factor.weight, 0.16);
    EXPECT_EQ(factor.health, 40);
    EXPECT_EQ(factor.detail, "60% busy");
}

TEST(ScoreFactor, GetsAFreshIdentityEachTimeItIsMade) {
    const ScoreFactor one("CPU", 0.16, 40, "");
    const ScoreFactor other("CPU", 0.16, 40, "");
    EXPECT_NE(one.id, other.id);
    EXPECT_NE(one.id, Uuid());
}

TEST(ScoreFactor, CopyKeepsTheIdentity) {
    const ScoreFactor one("CPU", 0.16, 40, "");
    const ScoreFactor copy = one;
    EXPECT_EQ(copy.id, one.id);
}

TEST(ScoreFactor, LostIsTheMissingHealthTimesTheWeight) {
    EXPECT_NEAR(ScoreFactor("CPU", 0.16, 40, "").lost(), 9.6, 1e-12);
    EXPECT_EQ(ScoreFactor("CPU", 0.16, 100, "").lost(), 0);
    EXPECT_EQ(ScoreFactor("CPU", 0.16, 0, "").lost(), 0.16 * 100);
    EXPECT_EQ(ScoreFactor("CPU", 0.5, 120, "").lost(), -10) << "not clamped";
}

TEST(MemPressure, HasTheKernelsNumbers) {
    EXPECT_EQ(static_cast<int>(MemPressure::normal), 1);
    EXPECT_EQ(static_cast<int>(MemPressure::warning), 2);
    EXPECT_EQ(static_cast<int>(MemPressure::critical), 4);
}

TEST(MemPressure, KnowsOnlyTheNumbersOneTwoAndFour) {
    EXPECT_EQ(memPressure(1), MemPressure::normal);
    EXPECT_EQ(memPressure(2), MemPressure::warning);
    EXPECT_EQ(memPressure(4), MemPressure::critical);
    for (const std::int64_t other :
         {std::int64_t{0}, std::int64_t{3}, std::int64_t{5}, std::int64_t{6}, std::int64_t{8},
          std::int64_t{-1}, std::int64_t{-4}, std::int64_t{4294967297}}) {
        EXPECT_EQ(memPressure(other), std::nullopt) << other;
    }
}

TEST(MemPressure, LabelsSayHowTheSystemFeels) {
    EXPECT_EQ(label(MemPressure::normal), "macOS is comfortable");
    EXPECT_EQ(label(MemPressure::warning), "macOS is under pressure");
    EXPECT_EQ(label(MemPressure::critical), "macOS is out of room");
}

TEST(MemPressure, HashesByItsNumber) {
    const std::hash<MemPressure> hash;
    EXPECT_EQ(hash(MemPressure::warning), hash(*memPressure(2)));
    EXPECT_NE(hash(MemPressure::warning), hash(MemPressure::critical));
}

TEST(ProcInfo, HoldsPidNameAndSize) {
    const ProcInfo process{77, "builder", 2.5};
    EXPECT_EQ(process.id, 77);
    EXPECT_EQ(process.name, "builder");
    EXPECT_EQ(process.gb, 2.5);
}

TEST(ProcInfo, EmptyOneIsNoProcessOfNoSize) {
    const ProcInfo process;
    EXPECT_EQ(process.id, 0);
    EXPECT_EQ(process.name, "");
    EXPECT_EQ(process.gb, 0);
    EXPECT_FALSE(process.startTime);
}

TEST(ProcInfo, IsSelfAsksForThePidEachTime) {
    platform::SimulatedProcesses processes;
    platform::CallLog log;
    processes.log = &log;
    const ProcInfo process{500, "korvel", 0.1};
    EXPECT_TRUE(process.isSelf(processes));
    processes.ownPid = 501;
    EXPECT_FALSE(process.isSelf(processes));
    EXPECT_EQ(log, platform::CallLog(2, "currentProcessIdentifier"));
}

TEST(Snapshot, EmptyOneHasTheDefaults) {
    const Snapshot s;
    EXPECT_TRUE(s.factors.empty());
    for (const double number :
         {s.cpuPct, s.memUsedGB, s.memTotalGB, s.memPct, s.compressedGB, s.memAvailableGB,
          s.swapUsedGB, s.swapTotalGB, s.swapPct, s.diskFreeGB, s.diskPct, s.load1}) {
        EXPECT_EQ(number, 0);
    }
    EXPECT_EQ(s.memPressure, MemPressure::normal);
    EXPECT_FALSE(s.swappingNow);
    EXPECT_EQ(s.cores, 1);
    EXPECT_EQ(s.uptime, "");
    EXPECT_TRUE(s.topProcs.empty());
    EXPECT_FALSE(s.wardenOn);
    EXPECT_EQ(s.thermal, ThermalState::nominal);
    EXPECT_EQ(s.score, 0);
    EXPECT_EQ(s.verdict, "");
    EXPECT_TRUE(s.alerts.empty());
    EXPECT_FALSE(s.runaway);
    EXPECT_FALSE(s.worstFactor());
    EXPECT_TRUE(s.factorsBySeverity().empty());
    EXPECT_EQ(s.thermalLabel(), "normal");
}

TEST(Snapshot, IsMadeFromAllFieldsInOrder) {
    const ProcInfo process{1, "p", 9};
    const Snapshot s{
        {}, 1,  2,  3,  4,    5,         6,    MemPressure::warning, 7,  8,   9,     true,
        10, 11, 12, 13, "up", {process}, true, ThermalState::fair,   14, "v", {"a"}, process};
    EXPECT_EQ(s.cpuPct, 1);
    EXPECT_EQ(s.memUsedGB, 2);
    EXPECT_EQ(s.memTotalGB, 3);
    EXPECT_EQ(s.memPct, 4);
    EXPECT_EQ(s.compressedGB, 5);
    EXPECT_EQ(s.memAvailableGB, 6);
    EXPECT_EQ(s.memPressure, MemPressure::warning);
    EXPECT_EQ(s.swapUsedGB, 7);
    EXPECT_EQ(s.swapTotalGB, 8);
    EXPECT_EQ(s.swapPct, 9);
    EXPECT_TRUE(s.swappingNow);
    EXPECT_EQ(s.diskFreeGB, 10);
    EXPECT_EQ(s.diskPct, 11);
    EXPECT_EQ(s.load1, 12);
    EXPECT_EQ(s.cores, 13);
    EXPECT_EQ(s.uptime, "up");
    EXPECT_EQ(s.topProcs, std::vector{process});
    EXPECT_TRUE(s.wardenOn);
    EXPECT_EQ(s.thermal, ThermalState::fair);
    EXPECT_EQ(s.score, 14);
    EXPECT_EQ(s.verdict, "v");
    EXPECT_EQ(s.alerts, std::vector<std::string>{"a"});
    EXPECT_EQ(s.runaway, process);
}

TEST(Snapshot, WorstFactorIsTheEarliestOfEquals) {
    Snapshot s;
    s.factors = {{"a", 0.5, 90, ""}, {"b", 0.5, 40, ""}, {"c", 0.5, 40, ""}, {"d", 0.5, 50, ""}};
    EXPECT_EQ(s.worstFactor()->name, "b");
    EXPECT_EQ(s.worstFactor()->id, s.factors[1].id);
}

TEST(Snapshot, WorstFactorOfPerfectOnesIsTheFirst) {
    Snapshot s;
    s.factors = {{"a", 0.26, 100, ""}, {"b", 0.24, 100, ""}};
    EXPECT_EQ(s.worstFactor()->name, "a");
}

TEST(Snapshot, FactorsBySeveritySortsACopyAndKeepsEqualsInOrder) {
    Snapshot s;
    s.factors = {{"a", 0.1, 100, ""}, {"b", 0.1, 20, ""}, {"c", 0.1, 100, ""},
                 {"d", 0.1, 20, ""},  {"e", 0.1, 0, ""},  {"f", 0.2, 60, ""}};
    EXPECT_EQ(names(s.factorsBySeverity()), (Names{"e", "b", "d", "f", "a", "c"}));
    EXPECT_EQ(names(s.factors), (Names{"a", "b", "c", "d", "e", "f"}));
}

TEST(Snapshot, ThermalLabelNamesEveryState) {
    const struct {
        int raw;
        const char* label;
    } cases[] = {
        {0, "normal"},  {1, "warm"},    {2, "hot, throttling"}, {3, "very hot, heavily throttled"},
        {4, "unknown"}, {7, "unknown"}, {-1, "unknown"},        {2147483647, "unknown"}};
    for (const auto& row : cases) {
        Snapshot s;
        s.thermal = static_cast<ThermalState>(row.raw);
        EXPECT_EQ(s.thermalLabel(), row.label) << row.raw;
        EXPECT_EQ(static_cast<int>(s.thermal), row.raw);
    }
}

} // namespace
} // namespace korvel
