#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "core/metrics.h"
#include "support/generator.h"
#include "support/simulated_sampler.h"

namespace korvel {
namespace {

using namespace std::string_literals;
using platform::CallLog;
using Pids = std::vector<std::int32_t>;

struct Inspector : test::SimulatedSampler {
    Pids pids(int limit = 5) {
        Pids all;
        for (const ProcInfo& process : metrics.topProcesses(limit)) {
            all.push_back(process.id);
        }
        return all;
    }
};

TEST(TopProcesses, UnreadableTableGivesNone) {
    Inspector inspector;
    inspector.addProcess(1, "there", 1);
    inspector.processes.listingFails = true;
    EXPECT_TRUE(inspector.pids().empty());
    EXPECT_EQ(inspector.log, CallLog{"listAllPids"});
}

TEST(TopProcesses, OnlyAboveOneTwentiethOfAGigabyte) {
    Inspector inspector;
    inspector.processes.table = {
        {1, "at", 53687091, {}}, {2, "above", 53687092, {}}, {3, "none", 0, {}}};
    inspector.addProcess(4, "well above", 0.0501);
    EXPECT_EQ(inspector.pids(), (Pids{4, 2}));
    EXPECT_EQ(inspector.metrics.topProcesses()[1].gb, 53687092 * 0x1p-30);
}

TEST(TopProcesses, HeaviestFirstAndEqualsInListingOrder) {
    Inspector inspector;
    for (const auto& [pid, gb] :
         std::vector<std::pair<std::int32_t, double>>{{30, 1}, {10, 2}, {20, 1}, {40, 2}, {5, 1}}) {
        inspector.addProcess(pid, "p", gb);
    }
    EXPECT_EQ(inspector.pids(), (Pids{10, 40, 30, 20, 5}));
}

TEST(TopProcesses, StartTimesAreAskedOfThoseThatAreReturnedAlone) {
    Inspector inspector;
    for (std::int32_t pid = 1; pid <= 3; ++pid) {
        inspector.addProcess(pid, "p", pid);
        inspector.processes.table.back().startTime = 100 + pid;
    }
    inspector.processes.table[1].startTime.reset();
    const std::vector<ProcInfo> found = inspector.metrics.topProcesses(2);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].startTime, 103U);
    EXPECT_FALSE(found[1].startTime) << "not told";
    EXPECT_EQ(inspector.processes.startTimesAsked, 2);
}

TEST(TopProcesses, LimitCutsTheList) {
    Inspector inspector;
    for (std::int32_t pid = 1; pid <= 3; ++pid) {
        inspector.addProcess(pid, "p", 4.0 - pid);
    }
    EXPECT_EQ(inspector.pids(0), Pids{});
    EXPECT_EQ(inspector.pids(1), (Pids{1}));
    EXPECT_EQ(inspector.pids(3), (Pids{1, 2, 3}));
    EXPECT_EQ(inspector.pids(5), (Pids{1, 2, 3}));
    EXPECT_EQ(inspector.pids(2147483647), (Pids{1, 2, 3}));
}

TEST(TopProcesses, LimitIsFiveUnlessSaidOtherwise) {
    Inspector inspector;
    for (std::int32_t pid = 1; pid <= 9; ++pid) {
        inspector.addProcess(pid, "p", 1);
    }
    EXPECT_EQ(inspector.metrics.topProcesses().size(), 5U);
}

TEST(TopProcessesDeathTest, NegativeLimitIsFatal) {
    Inspector inspector;
    EXPECT_EXIT(inspector.metrics.topProcesses(-1), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(TopProcesses, PidsBelowOneAreSkippedUnasked) {
    Inspector inspector;
    inspector.addProcess(0, "kernel", 9);
    inspector.addProcess(-1, "odd", 9);
    inspector.addProcess(1, "first", 1);
    EXPECT_EQ(inspector.pids(), (Pids{1}));
    EXPECT_EQ(inspector.log, (CallLog{"listAllPids", "physFootprint 1", "name 1"}));
}

TEST(TopProcesses, FootprintThatCannotBeReadSkipsTheProcess) {
    Inspector inspector;
    inspector.processes.table = {{1, "gone", std::nullopt, {}}};
    inspector.addProcess(2, "there", 1);
    EXPECT_EQ(inspector.pids(), (Pids{2}));
}

TEST(TopProcesses, NamesAreAskedOnlyOfTheHeavy) {
    Inspector inspector;
    inspector.processes.table = {{1, "light", 1000, {}}, {2, "gone", std::nullopt, {}}};
    inspector.addProcess(3, "heavy", 1);
    inspector.pids();
    EXPECT_EQ(inspector.log, (CallLog{"listAllPids", "physFootprint 1", "physFootprint 2",
                                      "physFootprint 3", "name 3"}));
}

TEST(TopProcesses, ProcessWithoutANameIsLeftOutEvenWhenHeaviest) {
    Inspector inspector;
    inspector.addProcess(1, "", 20);
    inspector.addProcess(2, "\0hidden"s, 10);
    inspector.addProcess(3, "named", 1);
    EXPECT_EQ(inspector.pids(), (Pids{3}));
}

TEST(TopProcesses, NamesEndAtTheFirstZeroByteAndAreDecodedWithReplacements) {
    const struct {
        std::string bytes;
        std::string name;
    } cases[] = {{"plain", "plain"},
                 {"with spaces (and) [brackets]\n", "with spaces (and) [brackets]\n"},
                 {"cut\0rest"s, "cut"},
                 {"what? this", "what? this"},
                 {"caf\xc3\xa9", "café"},
                 {"cut caf\xc3", "cut caf\xef\xbf\xbd"},
                 {"\xff\xfe", "\xef\xbf\xbd\xef\xbf\xbd"},
                 {" ", " "}};
    for (const auto& row : cases) {
        Inspector inspector;
        inspector.addProcess(1, row.bytes, 1);
        ASSERT_EQ(inspector.metrics.topProcesses().size(), 1U);
        EXPECT_EQ(inspector.metrics.topProcesses()[0].name, row.name);
    }
}

TEST(TopProcesses, ProgramItselfIsListedLikeAnyOther) {
    Inspector inspector;
    inspector.addProcess(500, "korvel", 1);
    ASSERT_EQ(inspector.pids(), (Pids{500}));
    EXPECT_TRUE(inspector.metrics.topProcesses()[0].isSelf(inspector.processes));
}

TEST(TopProcesses, LeavesTheSamplersBaselinesAlone) {
    Inspector inspector;
    inspector.metrics.snapshot();
    inspector.metrics.topProcesses();
    inspector.clock.turn(5);
    inspector.readings.cpuTicks.set(platform::CpuTicks{1050, 500, 100050, 0});
    EXPECT_EQ(inspector.metrics.snapshot().cpuPct, 50);
}

TEST(TopProcesses, AnyTableGivesItsHeaviestInStableOrder) {
    test::Generator random(21);
    for (int round = 0; round < 300; ++round) {
        Inspector inspector;
        const std::uint64_t count = random.below(60);
        for (std::uint64_t i = 0; i < count; ++i) {
            inspector.addProcess(static_cast<std::int32_t>(i + 1), "p",
                                 static_cast<double>(random.below(6)) / 4);
        }
        Pids expected;
        for (int quarter = 5; quarter > 0; --quarter) {
            for (const platform::SimulatedProcess& process : inspector.processes.table) {
                if (*process.physFootprint == static_cast<std::uint64_t>(quarter) << 28) {
                    expected.push_back(process.pid);
                }
            }
        }
        expected.resize(std::min<std::size_t>(expected.size(), 5));
        ASSERT_EQ(inspector.pids(), expected);
    }
}

/// A process table that keeps no log and so may be read from several threads.
class ConstantProcesses final : public platform::Processes {
  public:
    std::vector<std::int32_t> listAllPids() override { return {1, 2, 3}; }
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override {
        return static_cast<std::uint64_t>(pid) << 30;
    }
    std::string name(std::int32_t) override { return "p"; }
    void terminate(std::int32_t) override {}
    std::int32_t currentProcessIdentifier() override { return 500; }
};

TEST(TopProcesses, AnyThreadMayAskWhileTheSamplerWorks) {
    platform::SimulatedServices system;
    ConstantProcesses processes;
    Metrics metrics(system.machine, processes, system.agents, system.clock);
    std::size_t found = 0;
    std::thread other([&] {
        for (int i = 0; i < 500; ++i) {
            found += metrics.topProcesses().size();
        }
    });
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(metrics.snapshot().topProcs.size(), 3U);
    }
    other.join();
    EXPECT_EQ(found, 1500U);
}

} // namespace
} // namespace korvel
