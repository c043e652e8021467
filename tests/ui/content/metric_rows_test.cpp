#include "ui/content/metric_rows.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/snapshot.h"

namespace korvel {
namespace {

enum Place { cpu, memory, swap, thermal, disk };

Row rowOf(const Snapshot& snap, Place place) {
    return metricRows(snap, {}).at(place);
}

TEST(MetricRows, StandInTheirOrder) {
    std::vector<std::string> labels;
    for (const Row& row : metricRows({}, {})) {
        labels.push_back(row.label);
    }
    EXPECT_THAT(labels, testing::ElementsAre("CPU", "MEMORY", "SWAP", "THERMAL", "DISK"));
}

TEST(MetricRows, CpuIsWarnFromSeventyAndBadFromNinety) {
    const struct {
        double pct;
        Ink colour;
    } rows[] = {{0, Ink::good},    {69.9, Ink::good}, {70, Ink::warn},  {70.1, Ink::warn},
                {89.9, Ink::warn}, {90, Ink::bad},    {90.1, Ink::bad}, {140, Ink::bad}};
    for (const auto& row : rows) {
        Snapshot snap;
        snap.cpuPct = row.pct;
        EXPECT_EQ(rowOf(snap, cpu).colour, row.colour) << row.pct;
        EXPECT_EQ(rowOf(snap, cpu).pct, row.pct);
    }
}

TEST(MetricRows, CpuExplainsTheLoadWithExactTiesToTheEvenDigit) {
    Snapshot snap;
    snap.cores = 10;
    snap.load1 = 0.125;
    EXPECT_EQ(rowOf(snap, cpu).detail, "load 0.12 across 10 cores");
    snap.load1 = 0.375;
    EXPECT_EQ(rowOf(snap, cpu).detail, "load 0.38 across 10 cores");
}

TEST(MetricRows, MemoryIsColouredByPressureNotBySize) {
    const struct {
        MemPressure pressure;
        Ink colour;
        const char* detail;
    } rows[] = {
        {MemPressure::normal, Ink::good, "9.2 GB free to use · macOS is comfortable"},
        {MemPressure::warning, Ink::warn, "9.2 GB free to use · macOS is under pressure"},
        {MemPressure::critical, Ink::bad, "9.2 GB free to use · macOS is out of room"},
    };
    for (const auto& row : rows) {
        Snapshot snap;
        snap.memPct = 99;
        snap.memAvailableGB = 9.25;
        snap.memPressure = row.pressure;
        EXPECT_EQ(rowOf(snap, memory).colour, row.colour) << row.detail;
        EXPECT_EQ(rowOf(snap, memory).detail, row.detail);
    }
}

TEST(MetricRows, SwapIsJudgedByActivityNotBySize) {
    Snapshot snap;
    snap.swapUsedGB = 6;
    snap.swapPct = 99;
    EXPECT_EQ(rowOf(snap, swap).detail, "6.0 GB held · frees as apps quit");
    EXPECT_EQ(rowOf(snap, swap).colour, Ink::good);
    snap.swappingNow = true;
    EXPECT_EQ(rowOf(snap, swap).detail, "actively paging, genuine pressure");
    EXPECT_EQ(rowOf(snap, swap).colour, Ink::bad);
    EXPECT_EQ(rowOf(snap, swap).pct, 99);
    EXPECT_EQ(rowOf(snap, swap).label, "SWAP");
}

TEST(MetricRows, ThermalStatesAreStepsAndAnUnknownOneIsShortButBad) {
    const struct {
        int raw;
        double pct;
        Ink colour;
        const char* detail;
    } rows[] = {
        {0, 15, Ink::good, "macOS thermal state: normal"},
        {1, 45, Ink::warn, "macOS thermal state: warm"},
        {2, 80, Ink::bad, "macOS thermal state: hot, throttling"},
        {3, 100, Ink::bad, "macOS thermal state: very hot, heavily throttled"},
        {4, 15, Ink::bad, "macOS thermal state: unknown"},
        {7, 15, Ink::bad, "macOS thermal state: unknown"},
        {-1, 15, Ink::bad, "macOS thermal state: unknown"},
    };
    for (const auto& row : rows) {
        Snapshot snap;
        snap.thermal = static_cast<ThermalState>(row.raw);
        EXPECT_EQ(rowOf(snap, thermal).pct, row.pct) << row.raw;
        EXPECT_EQ(rowOf(snap, thermal).colour, row.colour) << row.raw;
        EXPECT_EQ(rowOf(snap, thermal).detail, row.detail) << row.raw;
    }
}

TEST(MetricRows, DiskIsWarnFrom85AndBadFrom93) {
    const struct {
        double pct;
        Ink colour;
    } rows[] = {
        {84.9, Ink::good}, {85, Ink::warn}, {92.9, Ink::warn}, {93, Ink::bad}, {100, Ink::bad}};
    for (const auto& row : rows) {
        Snapshot snap;
        snap.diskPct = row.pct;
        EXPECT_EQ(rowOf(snap, disk).colour, row.colour) << row.pct;
    }
}

TEST(MetricRows, DiskSpaceIsTruncated) {
    Snapshot snap;
    snap.diskFreeGB = 118.99;
    EXPECT_EQ(rowOf(snap, disk).detail, "118 GB free");
    snap.diskFreeGB = 0.9;
    EXPECT_EQ(rowOf(snap, disk).detail, "0 GB free");
}

TEST(MetricRows, WhatTheMachineDoesNotReportHasNoPercentageAndNoJudgement) {
    const struct {
        platform::Unreported unreported;
        Place place;
    } rows[] = {{{.dataVolume = true}, disk}, {{.thermalState = true}, thermal}};
    for (const auto& given : rows) {
        Snapshot snap;
        snap.unreported = given.unreported;
        const Row row = rowOf(snap, given.place);
        EXPECT_EQ(row.label, rowOf({}, given.place).label);
        EXPECT_EQ(row.detail, "not reported here") << row.label;
        EXPECT_EQ(row.percentText(), "—") << row.label;
        EXPECT_EQ(row.barFraction(), 0) << row.label;
        EXPECT_EQ(row.colour, Ink::secondary) << row.label;
        for (const Place other : {cpu, memory, swap, thermal, disk}) {
            EXPECT_EQ(rowOf(snap, other).isReported, other != given.place) << row.label;
        }
    }
}

TEST(MetricRowsDeathTest, DieOfDiskSpaceThatIsNoNumber) {
    Snapshot snap;
    snap.diskFreeGB = std::numeric_limits<double>::quiet_NaN();
    EXPECT_DEATH(metricRows(snap, {}), "");
}

TEST(MetricRows, OnlyCpuAndMemoryHaveASparkEvenAnEmptyOne) {
    const History one{{0, 10, 60}};
    for (const auto& history : {History(), one}) {
        const std::vector<Row> rows = metricRows({}, history);
        ASSERT_TRUE(rows[cpu].spark && rows[memory].spark);
        EXPECT_TRUE(rows[cpu].spark->path(Spark::kFrame).empty());
        EXPECT_TRUE(rows[memory].spark->path(Spark::kFrame).empty());
        EXPECT_FALSE(rows[swap].spark || rows[thermal].spark || rows[disk].spark);
    }
}

TEST(MetricRows, TheSparksTellCpuInCyanAndMemoryInPink) {
    const std::vector<Row> rows = metricRows({}, {{0, 10, 60}, {5, 20, 70}});
    EXPECT_EQ(rows[cpu].spark->colour, Ink::cyan);
    EXPECT_THAT(rows[cpu].spark->values, testing::ElementsAre(10, 20));
    EXPECT_EQ(rows[memory].spark->colour, Ink::pink);
    EXPECT_THAT(rows[memory].spark->values, testing::ElementsAre(60, 70));
}

} // namespace
} // namespace korvel
