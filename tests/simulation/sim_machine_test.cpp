#include <ostream>
#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/traced_run.h"

namespace korvel::simulation {
namespace {

/// The last reading that a scenario publishes.
TraceLine lastSnapshot(const std::string& scenario) {
    return ofKind(runQuietScenario(scenario), "snapshot").back();
}

TEST(SimMachine, UnlessToldOtherwiseItIsHealthyAndScoresOneHundred) {
    const TraceLine snapshot = lastSnapshot("{}");
    EXPECT_EQ(snapshot.number("/score"), 100);
    EXPECT_EQ(snapshot.string("/verdict"), "Excellent");
    EXPECT_EQ(snapshot.json("/alerts"), "[]");
    EXPECT_EQ(snapshot.number("/cores"), 10);
    EXPECT_EQ(snapshot.number("/memTotalGB"), 16);
    EXPECT_EQ(snapshot.string("/uptime"), "3d 4h");
}

TEST(SimMachine, WasStartedThreeDaysBeforeTheLaunchWheneverThatIs) {
    EXPECT_EQ(lastSnapshot(R"({"start": 86400.5})").string("/uptime"), "3d 4h");
    EXPECT_EQ(
        lastSnapshot(R"({"start": 86400.5, "machine": {"bootTime": 86395}})").string("/uptime"),
        "0m");
}

struct KeyCase {
    const char* name;
    const char* machine; ///< the machine keys
    const char* pointer; ///< the member of the reading that shows them
    const char* json;    ///< what it then is
};

std::ostream& operator<<(std::ostream& stream, const KeyCase& row) {
    return stream << row.name;
}

class SimMachineKeys : public testing::TestWithParam<KeyCase> {};

TEST_P(SimMachineKeys, ActAtLaunch) {
    const KeyCase& row = GetParam();
    EXPECT_EQ(lastSnapshot(fmt::format(R"({{"machine": {}}})", row.machine)).json(row.pointer),
              row.json);
}

TEST_P(SimMachineKeys, ActWhenSetLater) {
    const KeyCase& row = GetParam();
    EXPECT_EQ(lastSnapshot(fmt::format(R"({{"events": [{{"at": 2, "set": {}}}]}})", row.machine))
                  .json(row.pointer),
              row.json);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SimMachineKeys,
    testing::Values(
        KeyCase{"physicalMemory", R"({"physicalMemory": 8589934592})", "/memTotalGB", "8"},
        KeyCase{"wholeNumberAsFraction", R"({"physicalMemory": 8.589934592e9})", "/memTotalGB",
                "8"},
        KeyCase{"processorCount", R"({"processorCount": 4})", "/cores", "4"},
        KeyCase{"thermalState", R"({"thermalState": 7})", "/thermalLabel", "\"unknown\""},
        KeyCase{"thermalStateBelowZero", R"({"thermalState": -1})", "/thermal", "-1"},
        KeyCase{"pageSize", R"({"pageSize": 4096})", "/memUsedGB", "1.75"},
        KeyCase{"free", R"({"vm": {"free_count": 65536}})", "/memAvailableGB", "7"},
        KeyCase{"active", R"({"vm": {"active_count": 65536}})", "/memUsedGB", "3"},
        KeyCase{"inactive", R"({"vm": {"inactive_count": 65536}})", "/memAvailableGB", "4"},
        KeyCase{"wire", R"({"vm": {"wire_count": 65536}})", "/memUsedGB", "6"},
        KeyCase{"speculative", R"({"vm": {"speculative_count": 65536}})", "/memAvailableGB", "10"},
        KeyCase{"purgeable", R"({"vm": {"purgeable_count": 65536}})", "/memAvailableGB", "10"},
        KeyCase{"compressor", R"({"vm": {"compressor_page_count": 65536}})", "/compressedGB", "1"},
        KeyCase{"noVm", R"({"vm": null})", "/memUsedGB", "0"},
        KeyCase{"noCpuTicks", R"({"cpuTicks": null})", "/cpuPct", "0"},
        KeyCase{"pressureLevel", R"({"pressureLevel": 4})", "/memPressure", "4"},
        KeyCase{"noPressureLevel", R"({"pressureLevel": null})", "/memPressure", "1"},
        KeyCase{"swapUsed", R"({"swap": {"xsu_used": 1073741824}})", "/swapUsedGB", "1"},
        KeyCase{"swapTotal", R"({"swap": {"xsu_total": 1073741824, "xsu_avail": 1073741824}})",
                "/swapTotalGB", "1"},
        KeyCase{"noSwap", R"({"swap": null})", "/swapPct", "0"},
        KeyCase{"blockSize", R"({"volume": {"f_bsize": 2048}})", "/diskFreeGB", "125"},
        KeyCase{"blocks", R"({"volume": {"f_blocks": 262144000}})", "/diskPct", "75"},
        KeyCase{"blocksFree", R"({"volume": {"f_bfree": 131072000}})", "/diskPct", "0"},
        KeyCase{"blocksAvailable", R"({"volume": {"f_bavail": 2621440}})", "/diskFreeGB", "10"},
        KeyCase{"noVolume", R"({"volume": null})", "/diskFreeGB", "0"},
        KeyCase{"load", R"({"load": [2.5, 1, 0.5]})", "/load1", "2.5"},
        KeyCase{"noLoad", R"({"load": null})", "/load1", "0"},
        KeyCase{"bootTime", R"({"bootTime": 1699996400})", "/uptime", "\"1h 0m\""},
        KeyCase{"noBootTime", R"({"bootTime": null})", "/uptime", "\"\""},
        KeyCase{"process",
                R"({"processes": [{"pid": 7, "name": "a", "phys_footprint": 1073741824}]})",
                "/topProcs", R"([{"id":7,"name":"a","gb":1}])"},
        KeyCase{"processWithoutFootprint",
                R"({"processes": [{"pid": 7, "name": "a", "phys_footprint": null}]})", "/topProcs",
                "[]"},
        KeyCase{"processWithoutName",
                R"({"processes": [{"pid": 7, "phys_footprint": 1073741824}]})", "/topProcs", "[]"},
        KeyCase{"noProcesses", R"({"processes": null})", "/topProcs", "[]"},
        KeyCase{"agentLoaded", R"({"agents": "-\t0\tcom.oxbrook.warden.agent\n"})", "/wardenOn",
                "true"},
        KeyCase{"otherAgent", R"({"agents": "-\t0\tcom.example.other\n"})", "/wardenOn", "false"},
        KeyCase{"noAgents", R"({"agents": null})", "/wardenOn", "false"}),
    [](const testing::TestParamInfo<KeyCase>& row) { return row.param.name; });

TEST(SimMachine, ProcessorTicksAreCountedBetweenTwoReadings) {
    const TraceLines snapshots = ofKind(runQuietScenario(R"({"until": 6,
        "machine": {"cpuTicks": [100, 100, 100, 100]},
        "events": [{"at": 0.5, "set": {"cpuTicks": [130, 110, 150, 110]}}]})"),
                                        "snapshot");
    ASSERT_EQ(snapshots.size(), 3U);
    EXPECT_EQ(snapshots[0].number("/cpuPct"), 0);
    EXPECT_EQ(snapshots[1].number("/cpuPct"), 50);
    EXPECT_EQ(snapshots[2].number("/cpuPct"), 0);
}

TEST(SimMachine, SwapoutsAreARateBetweenTwoReadings) {
    const auto swapping = [](int pages) {
        return lastSnapshot(
                   fmt::format(
                       R"({{"until": 2, "events": [{{"at": 0.5, "set": {{"vm": {{"swapouts": {}}}}}}}]}})",
                       pages))
            .flag("/swappingNow");
    };
    EXPECT_FALSE(swapping(150));
    EXPECT_TRUE(swapping(151));
}

TEST(SimMachine, ASetKeepsTheFieldsThatItDoesNotName) {
    const TraceLine snapshot = lastSnapshot(R"({
        "machine": {"vm": {"free_count": 65536, "active_count": 65536}, "thermalState": 1},
        "events": [{"at": 2, "set": {"vm": {"active_count": 131072}}}]})");
    EXPECT_EQ(snapshot.number("/memAvailableGB"), 7);
    EXPECT_EQ(snapshot.number("/memUsedGB"), 4);
    EXPECT_EQ(snapshot.number("/thermal"), 1);
}

TEST(SimMachine, AReadingThatComesBackGoesOnFromWhatItWas) {
    const TraceLines snapshots = ofKind(runQuietScenario(R"({"until": 12,
        "machine": {"swap": {"xsu_total": 2147483648, "xsu_used": 1073741824}},
        "events": [{"at": 2, "set": {"swap": null}},
                   {"at": 7, "set": {"swap": {"xsu_used": 2147483648}}}]})"),
                                        "snapshot");
    ASSERT_EQ(snapshots.size(), 4U);
    EXPECT_EQ(snapshots[1].number("/swapPct"), 50);
    EXPECT_EQ(snapshots[2].number("/swapPct"), 0);
    EXPECT_EQ(snapshots[3].number("/swapPct"), 100);
}

TEST(SimMachine, ASetReplacesTheListOfProcessesAsAWhole) {
    const TraceLine snapshot = lastSnapshot(R"({
        "machine": {"processes": [{"pid": 1, "name": "a", "phys_footprint": 1073741824},
                                  {"pid": 2, "name": "b", "phys_footprint": 1073741824}]},
        "events": [{"at": 2, "set": {"processes": [
            {"pid": 2, "name": "b", "phys_footprint": 2147483648}]}}]})");
    EXPECT_EQ(snapshot.json("/topProcs"), R"([{"id":2,"name":"b","gb":2}])");
}

TEST(SimMachine, ProcessesKeepTheirPlaceInTheListing) {
    const TraceLine snapshot = lastSnapshot(R"({"machine": {"processes": [
        {"pid": 9, "name": "first", "phys_footprint": 1073741824},
        {"pid": 3, "name": "second", "phys_footprint": 1073741824}]}})");
    EXPECT_EQ(snapshot.number("/topProcs/0/id"), 9);
    EXPECT_EQ(snapshot.number("/topProcs/1/id"), 3);
}

TEST(SimMachine, TheProgramHasItsOwnPid) {
    const Scenario plain = *readScenario("{}");
    const Scenario given = *readScenario(R"({"machine": {"ownPid": 777}})");
    EXPECT_EQ(SimulatedProgram(plain, {}).machine().processes.ownPid, 500);
    EXPECT_EQ(SimulatedProgram(given, {}).machine().processes.ownPid, 777);
}

} // namespace
} // namespace korvel::simulation
