#include "report/snapshot_metrics.h"

#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/metrics.h"
#include "core/snapshot.h"

namespace korvel {
namespace {

/// The lines of the samples: what stands before the last blank, and what stands after it.
std::map<std::string, std::string> samplesOf(const std::string& text) {
    std::map<std::string, std::string> samples;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.front() != '#') {
            const std::size_t blank = line.rfind(' ');
            samples[line.substr(0, blank)] = line.substr(blank + 1);
        }
    }
    return samples;
}

std::map<std::string, std::string> samplesOf(const Snapshot& snapshot, Rates rates = Rates::known) {
    return samplesOf(snapshotMetrics(snapshot, rates, "1.2.3"));
}

Snapshot measured() {
    Snapshot s;
    s.cpuPct = 25;
    s.memTotalGB = 16;
    s.memUsedGB = 10.5;
    s.memAvailableGB = 5.25;
    s.compressedGB = 4096 * 0x1p-30;
    s.memPressure = MemPressure::warning;
    s.swapTotalGB = 2;
    s.swapUsedGB = 0.5;
    s.swappingNow = true;
    s.diskFreeGB = 18.5;
    s.diskPct = 62.5;
    s.load1 = 3.41;
    s.cores = 10;
    s.thermal = ThermalState::serious;
    s.wardenOn = true;
    s.topProcs = {{42, "builder\"\n", 9.34}};
    Metrics::score(s);
    return s;
}

TEST(SnapshotMetrics, HasEachFigureInItsBaseUnit) {
    const std::map<std::string, std::string> expected = {
        {"korvel_score", "45"},
        {"korvel_points_lost{factor=\"memory\"}", "14.3"},
        {"korvel_points_lost{factor=\"disk\"}", "17.732307692307693"},
        {"korvel_points_lost{factor=\"cpu\"}", "4"},
        {"korvel_points_lost{factor=\"load\"}", "4.774"},
        {"korvel_points_lost{factor=\"swap\"}", "9"},
        {"korvel_points_lost{factor=\"thermal\"}", "5.2"},
        {"korvel_runaway", "1"},
        {"korvel_memory_total_bytes", "17179869184"},
        {"korvel_memory_available_bytes", "5637144576"},
        {"korvel_memory_used_bytes", "11274289152"},
        {"korvel_memory_compressed_bytes", "4096"},
        {"korvel_memory_pressure_level", "2"},
        {"korvel_swap_total_bytes", "2147483648"},
        {"korvel_swap_used_bytes", "536870912"},
        {"korvel_swapping", "1"},
        {"korvel_processors", "10"},
        {"korvel_cpu_usage_ratio", "0.25"},
        {"korvel_load1", "3.41"},
        {"korvel_thermal_state", "2"},
        {"korvel_disk_available_bytes", "19864223744"},
        {"korvel_disk_used_ratio", "0.625"},
        {"korvel_watchdog_loaded", "1"},
        {"korvel_build_info{version=\"1.2.3\"}", "1"},
    };
    EXPECT_EQ(samplesOf(measured()), expected);
}

TEST(SnapshotMetrics, DescribesEachNameOnceAndBeforeItsSamples) {
    std::set<std::string> described;
    std::string name;
    std::istringstream lines(snapshotMetrics(measured(), Rates::known, "1.2.3"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string first;
        std::string second;
        std::string third;
        words >> first >> second >> third;
        if (second == "HELP") {
            name = third;
            EXPECT_TRUE(described.insert(name).second) << line;
            EXPECT_EQ(line.back(), '.') << line;
        } else if (second == "TYPE") {
            EXPECT_EQ(line, "# TYPE " + name + " gauge");
        } else {
            EXPECT_EQ(first.substr(0, first.find('{')), name) << line;
        }
    }
    EXPECT_EQ(described.size(), 19U);
}

TEST(SnapshotMetrics, EndsInANewlineAndNamesNoProcess) {
    const std::string text = snapshotMetrics(measured(), Rates::known, "1.2.3");
    EXPECT_EQ(text.back(), '\n');
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("builder")));
}

TEST(SnapshotMetrics, HasNoSeriesOfWhatIsNotKnown) {
    struct Case {
        const char* what;
        void (*change)(Snapshot& snapshot);
        Rates rates;
        std::set<std::string> missing;
    };
    const std::vector<Case> cases = {
        {"no volume that counts blocks",
         [](Snapshot& s) { s.unreported.dataVolume = true; },
         Rates::known,
         {"korvel_disk_available_bytes", "korvel_disk_used_ratio"}},
        {"no sensor",
         [](Snapshot& s) { s.unreported.thermalState = true; },
         Rates::known,
         {"korvel_thermal_state"}},
        {"a heat without a name",
         [](Snapshot& s) { s.thermal = static_cast<ThermalState>(7); },
         Rates::known,
         {"korvel_thermal_state"}},
        {"a negative heat",
         [](Snapshot& s) { s.thermal = static_cast<ThermalState>(-1); },
         Rates::known,
         {"korvel_thermal_state"}},
        {"a level from what is left alone",
         [](Snapshot& s) { s.unreported.memoryStall = true; },
         Rates::known,
         {}},
        {"a runaway among the processes that are seen",
         [](Snapshot& s) { s.unreported.otherProcesses = true; },
         Rates::known,
         {}},
        {"none among those, and others that are hidden",
         [](Snapshot& s) {
             s.unreported.otherProcesses = true;
             s.topProcs.clear();
         },
         Rates::known,
         {"korvel_runaway"}},
        {"memory that cannot be read",
         [](Snapshot& s) { s.memTotalGB = 0; },
         Rates::known,
         {"korvel_memory_total_bytes", "korvel_memory_available_bytes", "korvel_memory_used_bytes",
          "korvel_memory_compressed_bytes", "korvel_memory_pressure_level"}},
        {"one sample",
         [](Snapshot&) {},
         Rates::unknown,
         {"korvel_cpu_usage_ratio", "korvel_swapping"}},
    };
    const auto whole = samplesOf(measured());
    for (const Case& row : cases) {
        Snapshot s = measured();
        row.change(s);
        Metrics::score(s);
        const auto samples = samplesOf(s, row.rates);
        std::set<std::string> missing;
        for (const auto& [name, value] : whole) {
            if (samples.count(name) == 0) {
                missing.insert(name);
            }
        }
        EXPECT_EQ(missing, row.missing) << row.what;
    }
}

TEST(SnapshotMetrics, HasAllSixFactorsBeforeTheFirstSampleToo) {
    const auto samples = samplesOf(Snapshot());
    for (const char* factor : {"memory", "disk", "cpu", "load", "swap", "thermal"}) {
        const std::string name = std::string("korvel_points_lost{factor=\"") + factor + "\"}";
        ASSERT_EQ(samples.count(name), 1U) << factor;
        EXPECT_EQ(samples.at(name), "0") << factor;
    }
}

TEST(SnapshotMetrics, WritesNumbersAsTheFormatDoes) {
    const std::pair<double, const char*> cases[] = {
        {0, "0"},
        {0.1, "0.1"},
        {1234.5, "1234.5"},
        {std::nan(""), "NaN"},
        {std::numeric_limits<double>::infinity(), "+Inf"},
        {-std::numeric_limits<double>::infinity(), "-Inf"},
    };
    for (const auto& [load, text] : cases) {
        Snapshot s;
        s.load1 = load;
        EXPECT_EQ(samplesOf(s).at("korvel_load1"), text);
    }
}

TEST(SnapshotMetrics, EscapesTheValuesOfLabels) {
    EXPECT_THAT(snapshotMetrics(Snapshot(), Rates::known, "a\\b\"c\nd"),
                testing::EndsWith("korvel_build_info{version=\"a\\\\b\\\"c\\nd\"} 1\n"));
}

} // namespace
} // namespace korvel
