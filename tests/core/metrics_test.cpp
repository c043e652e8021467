#include "core/metrics.h"

#include <csignal>
#include <limits>

#include <gtest/gtest.h>

#include "platform/services.h"
#include "platform/simulated/services.h"
#include "support/simulated_sampler.h"

// The order of the readings, and those that stand by themselves: disk, swap space, load, uptime,
// processes, the watchdog, the thermal state. Memory and processors have files of their own.
namespace korvel {
namespace {

using platform::CallLog;
using platform::SwapUsage;
using platform::VolumeStatistics;

using Sampler = test::SimulatedSampler;

TEST(Snapshotting, TakesTheReadingsInTheirOrder) {
    Sampler sampler;
    sampler.addProcess(77, "builder", 2);
    sampler.metrics.snapshot();
    EXPECT_EQ(sampler.log,
              (CallLog{"physicalMemory", "processorCount", "vmStatistics", "pageSize",
                       "memoryPressureLevel", "now", "cpuTicks", "swapUsage", "dataVolume",
                       "loadAverages", "bootTime", "now", "listAllPids", "physFootprint 77",
                       "name 77", "isLoaded com.oxbrook.warden.agent", "thermalState"}));
}

TEST(Snapshotting, TakesEveryReadingEveryTime) {
    Sampler sampler;
    sampler.metrics.snapshot();
    const CallLog first = std::exchange(sampler.log, {});
    sampler.clock.turn(5);
    sampler.metrics.snapshot();
    EXPECT_EQ(sampler.log, first);
}

TEST(Snapshotting, HealthyMachineScoresOneHundredAtFirst) {
    Sampler sampler;
    sampler.readings.load.value = {0, 0, 0};
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.score, 100);
    EXPECT_EQ(s.verdict, "Excellent");
    EXPECT_EQ(s.cpuPct, 0);
    EXPECT_FALSE(s.swappingNow);
}

/// The second snapshot of a machine none of whose figures is as in an empty record, after `change`.
Snapshot snapshotOfABusyMachine(void (*change)(platform::SimulatedReadings&)) {
    Sampler sampler;
    platform::SimulatedReadings& readings = sampler.readings;
    readings.vm->compressor_page_count = 65536;
    readings.pressureLevel.value = 4;
    readings.swap.value =
        SwapUsage{std::uint64_t{4} << 30, std::uint64_t{2} << 30, std::uint64_t{2} << 30};
    readings.load.value = {3.5, 7, 9};
    sampler.metrics.snapshot();
    sampler.clock.turn(5);
    readings.cpuTicks->user += 100;
    readings.vm->swapouts += 5000;
    change(readings);
    return sampler.metrics.snapshot();
}

TEST(Snapshotting, AFigureThatCannotBeReadLeavesTheRecordsDefault) {
    using platform::SimulatedReadings;
    const struct {
        const char* name;
        void (*fail)(SimulatedReadings&);
        std::vector<double> (*fields)(const Snapshot&);
    } cases[] = {
        {"memory", [](SimulatedReadings& r) { r.physicalMemory.fails = true; },
         [](const Snapshot& s) {
             return std::vector{s.memTotalGB, s.memPct};
         }},
        {"processors", [](SimulatedReadings& r) { r.processorCount.fails = true; },
         [](const Snapshot& s) { return std::vector{static_cast<double>(s.cores)}; }},
        {"pages", [](SimulatedReadings& r) { r.vm.fails = true; },
         [](const Snapshot& s) {
             return std::vector{s.memUsedGB,
                                s.memPct,
                                s.compressedGB,
                                s.memAvailableGB,
                                static_cast<double>(s.memPressure),
                                static_cast<double>(s.swappingNow)};
         }},
        {"pressure", [](SimulatedReadings& r) { r.pressureLevel.fails = true; },
         [](const Snapshot& s) { return std::vector{static_cast<double>(s.memPressure)}; }},
        {"ticks", [](SimulatedReadings& r) { r.cpuTicks.fails = true; },
         [](const Snapshot& s) { return std::vector{s.cpuPct}; }},
        {"swap", [](SimulatedReadings& r) { r.swap.fails = true; },
         [](const Snapshot& s) {
             return std::vector{s.swapUsedGB, s.swapTotalGB, s.swapPct};
         }},
        {"volume", [](SimulatedReadings& r) { r.volume.fails = true; },
         [](const Snapshot& s) {
             return std::vector{s.diskFreeGB, s.diskPct};
         }},
        {"load", [](SimulatedReadings& r) { r.load.fails = true; },
         [](const Snapshot& s) { return std::vector{s.load1}; }},
        {"boot time", [](SimulatedReadings& r) { r.bootTime.fails = true; },
         [](const Snapshot& s) { return std::vector{static_cast<double>(s.uptime.size())}; }},
    };
    const Snapshot healthy = snapshotOfABusyMachine([](SimulatedReadings&) {});
    for (const auto& row : cases) {
        const std::vector<double> defaults = row.fields(Snapshot());
        const std::vector<double> taken = row.fields(healthy);
        for (std::size_t i = 0; i < defaults.size(); ++i) {
            EXPECT_NE(taken[i], defaults[i]) << row.name << ", field " << i;
        }
        EXPECT_EQ(row.fields(snapshotOfABusyMachine(row.fail)), defaults) << row.name;
    }
}

TEST(Snapshotting, MachineThatAnswersNothingStillScores) {
    Sampler sampler;
    sampler.readings.physicalMemory.fails = true;
    sampler.readings.processorCount.fails = true;
    sampler.readings.vm.fails = true;
    sampler.readings.cpuTicks.fails = true;
    sampler.readings.pressureLevel.fails = true;
    sampler.readings.swap.fails = true;
    sampler.readings.volume.fails = true;
    sampler.readings.load.fails = true;
    sampler.readings.bootTime.fails = true;
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.score, 76);
    EXPECT_EQ(s.alerts, std::vector<std::string>{"Disk critical: only 0GB left"});
    EXPECT_EQ(s.uptime, "");
    EXPECT_EQ(s.memPressure, MemPressure::normal);
}

TEST(Disk, FreeSpaceIsWhatIsAvailableToTheUser) {
    Sampler sampler;
    // 100 GiB, 40 free, of which 30 for users: 60 used of 90 that users can see.
    sampler.readings.volume.set(VolumeStatistics{4096, 26214400, 10485760, 7864320});
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.diskFreeGB, 30);
    EXPECT_EQ(s.diskPct, 60.0 / 90.0 * 100);
}

TEST(Disk, FailureLeavesBothZero) {
    Sampler sampler;
    sampler.readings.volume.fails = true;
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.diskFreeGB, 0);
    EXPECT_EQ(s.diskPct, 0);
}

TEST(Unreported, IsWhatMachineAndProcessTableSay) {
    using platform::Unreported;
    Sampler sampler;
    EXPECT_EQ(sampler.metrics.snapshot().unreported, Unreported());
    sampler.readings.unreported = {.dataVolume = true, .thermalState = true, .memoryStall = true};
    EXPECT_EQ(sampler.metrics.snapshot().unreported,
              (Unreported{.dataVolume = true, .thermalState = true, .memoryStall = true}));
    sampler.readings.unreported = {};
    sampler.processes.othersHidden = true;
    EXPECT_EQ(sampler.metrics.snapshot().unreported, Unreported{.otherProcesses = true});
}

TEST(Unreported, AVolumeThatIsNotReportedCostsNothingAndOneThatFailsDoes) {
    Sampler sampler;
    sampler.readings.volume.fails = true;
    EXPECT_EQ(sampler.metrics.snapshot().alerts,
              std::vector<std::string>{"Disk critical: only 0GB left"});
    sampler.readings.unreported.dataVolume = true;
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.score, 100);
    EXPECT_TRUE(s.alerts.empty());
    EXPECT_EQ(s.diskFreeGB, 0);
}

TEST(Disk, VolumeWithoutBlocksHasNoShare) {
    Sampler sampler;
    sampler.readings.volume.set(VolumeStatistics{4096, 0, 0, 0});
    EXPECT_EQ(sampler.metrics.snapshot().diskPct, 0);
}

TEST(Disk, AVolumeOfOneByteHasAShare) {
    Sampler sampler;
    sampler.readings.volume.set(VolumeStatistics{1, 1, 0, 0});
    EXPECT_EQ(sampler.metrics.snapshot().diskPct, 100);
}

TEST(Disk, FullVolumeIsAtOneHundredPercent) {
    Sampler sampler;
    sampler.readings.volume.set(VolumeStatistics{4096, 1000, 50, 0});
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.diskPct, 100);
    EXPECT_EQ(s.diskFreeGB, 0);
}

TEST(Disk, LargeVolumesDoNotOverflow) {
    Sampler sampler;
    sampler.readings.volume.set(VolumeStatistics{1 << 20, std::uint64_t{1} << 45,
                                                 std::uint64_t{1} << 44, std::uint64_t{1} << 44});
    const Snapshot s = sampler.metrics.snapshot();
    EXPECT_EQ(s.diskFreeGB, 0x1p34);
    EXPECT_EQ(s.diskPct, 50);
}

TEST(SwapSpace, IsReportedUnclamped) {
    const struct {
        const char* name;
        std::optional<SwapUsage> usage;
        double used;
        double total;
        double pct;
    } cases[] = {
        {"half", SwapUsage{std::uint64_t{4} << 30, std::uint64_t{2} << 30, std::uint64_t{2} << 30},
         2, 4, 50},
        {"more than all", SwapUsage{std::uint64_t{1} << 30, 0, std::uint64_t{3} << 30}, 3, 1, 300},
        {"no swap file", SwapUsage{0, 0, 0}, 0, 0, 0},
        {"used without a total", SwapUsage{0, 0, std::uint64_t{1} << 30}, 1, 0, 0},
        {"failure", std::nullopt, 0, 0, 0},
    };
    for (const auto& row : cases) {
        Sampler sampler;
        sampler.readings.swap.set(row.usage);
        const Snapshot s = sampler.metrics.snapshot();
        EXPECT_EQ(s.swapUsedGB, row.used) << row.name;
        EXPECT_EQ(s.swapTotalGB, row.total) << row.name;
        EXPECT_EQ(s.swapPct, row.pct) << row.name;
    }
}

TEST(Load, IsTheOneMinuteAverage) {
    Sampler sampler;
    sampler.readings.load.value = {3.5, 7, 9};
    EXPECT_EQ(sampler.metrics.snapshot().load1, 3.5);
}

std::string uptimeAfter(std::int64_t seconds) {
    Sampler sampler;
    sampler.clock.set(1700000000);
    sampler.readings.bootTime.set(1700000000 - seconds);
    return sampler.metrics.snapshot().uptime;
}

TEST(Uptime, ReadsInItsTwoLargestUnits) {
    const struct {
        std::int64_t seconds;
        const char* text;
    } cases[] = {
        {0, "0m"},          {59, "0m"},
        {60, "1m"},         {2520, "42m"},
        {3599, "59m"},      {3600, "1h 0m"},
        {18720, "5h 12m"},  {86399, "23h 59m"},
        {86400, "1d 0h"},   {89999, "1d 0h"},
        {90000, "1d 1h"},   {273600, "3d 4h"},
        {172799, "1d 23h"}, {31536000, "365d 0h"},
        {-1, "0m"},         {-61, "-1m"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(uptimeAfter(row.seconds), row.text) << row.seconds;
    }
}

TEST(Uptime, FractionsOfASecondAreCutOff) {
    Sampler sampler;
    sampler.readings.bootTime.set(1700000000 - 3599);
    sampler.clock.set(1700000000.999);
    EXPECT_EQ(sampler.metrics.snapshot().uptime, "59m");
}

TEST(Uptime, UnknownBootTimeGivesNoText) {
    Sampler sampler;
    sampler.readings.bootTime.fails = true;
    EXPECT_EQ(sampler.metrics.snapshot().uptime, "");
}

TEST(UptimeDeathTest, SecondsThatOverflowAreFatal) {
    Sampler sampler;
    sampler.readings.bootTime.set(std::numeric_limits<std::int64_t>::min());
    EXPECT_EXIT(sampler.metrics.snapshot(), testing::KilledBySignal(SIGABRT), "^$");
    sampler.readings.bootTime.set(0);
    sampler.clock.set(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EXIT(sampler.metrics.snapshot(), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(TopProcs, AreTheFiveHeaviest) {
    Sampler sampler;
    for (std::int32_t pid = 1; pid <= 8; ++pid) {
        sampler.addProcess(pid, "p", pid);
    }
    std::vector<std::int32_t> pids;
    for (const ProcInfo& process : sampler.metrics.snapshot().topProcs) {
        pids.push_back(process.id);
    }
    EXPECT_EQ(pids, (std::vector<std::int32_t>{8, 7, 6, 5, 4}));
}

TEST(WardenOn, IsWhetherTheAgentIsLoaded) {
    Sampler sampler;
    EXPECT_FALSE(sampler.metrics.snapshot().wardenOn);
    sampler.agents.loaded.insert("com.oxbrook.warden.agent");
    EXPECT_TRUE(sampler.metrics.snapshot().wardenOn);
}

TEST(Thermal, AnyNumberIsHandedOn) {
    for (const int raw : {-1, 0, 1, 2, 3, 4, 7}) {
        Sampler sampler;
        sampler.readings.thermalState = raw;
        EXPECT_EQ(static_cast<int>(sampler.metrics.snapshot().thermal), raw);
    }
}

TEST(SharedMetricsDeathTest, NeedsTheServicesToBeInstalled) {
    EXPECT_EXIT(Metrics::shared(), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(SharedMetrics, IsOneInstanceOnTheInstalledServices) {
    // For as long as the instance, which lives until the process ends.
    static platform::SimulatedServices system;
    static CallLog log;
    static const platform::Services services = system.services();
    system.logTo(log);
    platform::installedServices = &services;
    Metrics& shared = Metrics::shared();
    EXPECT_TRUE(log.empty()) << "nothing is read before it is asked for";
    platform::installedServices = nullptr;
    EXPECT_EQ(&Metrics::shared(), &shared);
    EXPECT_EQ(shared.snapshot().cores, 10);
    EXPECT_FALSE(log.empty());
}

} // namespace
} // namespace korvel
