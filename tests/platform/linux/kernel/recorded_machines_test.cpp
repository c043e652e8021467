// Plays recorded machines through the readers and the sampler: every folder of the fixtures that
// has an expected.txt. docs/readings.md describes the format.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core/metrics.h"
#include "platform/linux/kernel/kernel_trees.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/simulated/agents.h"
#include "platform/simulated/clock.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;

constexpr double kBetweenReadings = 5; // seconds

std::vector<std::string> recordedMachines() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(fixture(""))) {
        if (fs::exists(entry.path() / "expected.txt")) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The last of the recorded readings, scored.
Snapshot lastReading(const std::string& name) {
    const TempTree tree;
    tree.copyFixture(name);
    LinuxMachine machine(tree.root(), tree.root());
    LinuxProcesses processes(tree.root());
    SimulatedAgents agents;
    SimulatedClock clock;
    Metrics metrics(machine, processes, agents, clock);
    Snapshot last = metrics.snapshot();
    for (int next = 1;; ++next) {
        const std::string later = fmt::format("{}/later/{}", name, next);
        if (!fs::exists(fixture(later))) {
            return last;
        }
        tree.copyFixture(later);
        clock.turn(kBetweenReadings);
        last = metrics.snapshot();
    }
}

/// A number to as many decimals as `like` has.
std::string toDecimalsOf(const std::string& like, double number) {
    const std::size_t point = like.find('.');
    return fmt::format("{:.{}f}", number, point == std::string::npos ? 0 : like.size() - point - 1);
}

std::string unreportedWords(const Unreported& missing) {
    std::string words;
    for (const auto& [is, word] :
         {std::pair(missing.dataVolume, " disk"), std::pair(missing.thermalState, " heat"),
          std::pair(missing.memoryStall, " stalls"),
          std::pair(missing.otherProcesses, " others")}) {
        words += is ? word : "";
    }
    return words.empty() ? "none" : words.substr(1);
}

/// What a snapshot says under a key of expected.txt, written as the expected value is; empty for a
/// key that there is not.
std::string said(const Snapshot& s, const std::string& key, const std::string& expected) {
    const std::map<std::string, double> numbers = {
        {"thermal", static_cast<double>(s.thermal)},
        {"pressure", static_cast<double>(s.memPressure)},
        {"available_gb", s.memAvailableGB},
        {"used_gb", s.memUsedGB},
        {"compressed_gb", s.compressedGB},
        {"swap_used_gb", s.swapUsedGB},
        {"cores", static_cast<double>(s.cores)},
        {"load", s.load1},
        {"cpu_pct", s.cpuPct},
    };
    if (const auto number = numbers.find(key); number != numbers.end()) {
        return toDecimalsOf(expected, number->second);
    }
    if (key == "swapping") {
        return s.swappingNow ? "yes" : "no";
    }
    if (key == "runaway") {
        return s.runaway ? s.runaway->name : "none";
    }
    return key == "unreported" ? unreportedWords(s.unreported) : "";
}

class RecordedMachine : public testing::TestWithParam<std::string> {};

TEST_P(RecordedMachine, ReadsAsItsDescriptionExpects) {
    const std::string& name = GetParam();
    EXPECT_TRUE(fs::exists(fixture(name + "/about.txt"))) << "what is odd about it?";
    const Snapshot s = lastReading(name);

    std::ifstream lines(fixture(name + "/expected.txt"));
    std::set<std::string> keys;
    std::size_t listed = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::string key = line.substr(0, line.find(' '));
        ASSERT_LT(key.size(), line.size()) << line;
        const std::string expected = line.substr(key.size() + 1);
        if (key != "top") {
            EXPECT_EQ(said(s, key, expected), expected) << key;
            EXPECT_TRUE(keys.insert(key).second) << key << " stands twice";
            continue;
        }
        ASSERT_LT(listed, s.topProcs.size()) << line;
        const ProcInfo& process = s.topProcs[listed++];
        const std::string gb = expected.substr(expected.rfind(' ') + 1);
        EXPECT_EQ(fmt::format("{} {} {}", process.id, process.name, toDecimalsOf(gb, process.gb)),
                  expected);
    }
    EXPECT_TRUE(listed == 0 || listed == s.topProcs.size()) << "processes that are not expected";
    EXPECT_GT(keys.size() + listed, 0U) << "nothing is expected of it";
}

INSTANTIATE_TEST_SUITE_P(Linux, RecordedMachine, testing::ValuesIn(recordedMachines()),
                         [](const auto& machine) { return machine.param; });

} // namespace
} // namespace korvel::platform
