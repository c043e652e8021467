#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/machine.h"
#include "platform/processes.h"

// What every backend promises, whatever machine it tells about. A backend's test includes this
// header in one file and plugs itself in:
//
//     INSTANTIATE_TEST_SUITE_P(Linux, BackendSuite, testing::ValuesIn(backends()), backendName);

namespace korvel::platform {

struct Backend {
    struct Instance {
        std::shared_ptr<void> owner; ///< of everything below
        Machine& machine;
        Processes& processes;
    };

    std::string name;                      ///< letters and digits
    std::function<Instance()> make;        ///< a machine in order, with at least one process
    std::function<Instance()> makeFailing; ///< one of which nothing can be read
};

inline void PrintTo(const Backend& backend, std::ostream* out) {
    *out << backend.name;
}

inline std::string backendName(const testing::TestParamInfo<Backend>& info) {
    return info.param.name;
}

class BackendSuite : public testing::TestWithParam<Backend> {};

TEST_P(BackendSuite, TheMachineHasMemoryPagesAndProcessors) {
    const Backend::Instance backend = GetParam().make();
    const auto reading = backend.machine.read();
    EXPECT_TRUE(std::has_single_bit(reading->pageSize()));
    EXPECT_GE(reading->physicalMemory(), reading->pageSize());
    EXPECT_GE(reading->processorCount(), 1);
}

TEST_P(BackendSuite, UsedAndAvailableMemoryEachFitIntoTheMachine) {
    const Backend::Instance backend = GetParam().make();
    const auto reading = backend.machine.read();
    const auto statistics = reading->vmStatistics();
    ASSERT_TRUE(statistics);
    const std::uint64_t page = reading->pageSize();
    const std::uint64_t used = std::uint64_t{statistics->active_count} + statistics->wire_count +
                               statistics->compressor_page_count;
    const std::uint64_t available = std::uint64_t{statistics->free_count} +
                                    statistics->inactive_count + statistics->speculative_count +
                                    statistics->purgeable_count;
    EXPECT_GT(available, 0U);
    EXPECT_LE(used * page, reading->physicalMemory());
    EXPECT_LE(available * page, reading->physicalMemory());
}

TEST_P(BackendSuite, TicksAndSwapoutsNeverFall) {
    const Backend::Instance backend = GetParam().make();
    CpuTicks before;
    std::uint64_t swapouts = 0;
    for (int sample = 0; sample < 20; ++sample) {
        const auto reading = backend.machine.read();
        const auto ticks = reading->cpuTicks();
        ASSERT_TRUE(ticks);
        EXPECT_GE(ticks->user, before.user);
        EXPECT_GE(ticks->system, before.system);
        EXPECT_GE(ticks->idle, before.idle);
        EXPECT_GE(ticks->nice, before.nice);
        before = *ticks;
        const auto statistics = reading->vmStatistics();
        ASSERT_TRUE(statistics);
        EXPECT_GE(statistics->swapouts, swapouts);
        swapouts = statistics->swapouts;
    }
}

TEST_P(BackendSuite, ThePressureLevelIsOneOfTheKernels) {
    const Backend::Instance backend = GetParam().make();
    const auto level = backend.machine.read()->memoryPressureLevel();
    ASSERT_TRUE(level);
    EXPECT_TRUE(*level == 1 || *level == 2 || *level == 4) << *level;
}

TEST_P(BackendSuite, UsedAndAvailableSwapAreTheTotal) {
    const Backend::Instance backend = GetParam().make();
    const auto swap = backend.machine.read()->swapUsage();
    ASSERT_TRUE(swap);
    EXPECT_EQ(swap->xsu_total, swap->xsu_avail + swap->xsu_used);
}

TEST_P(BackendSuite, TheDataVolumeHasAUsedShare) {
    const Backend::Instance backend = GetParam().make();
    const auto volume = backend.machine.read()->dataVolume();
    ASSERT_TRUE(volume);
    EXPECT_GT(volume->f_bsize, 0U);
    EXPECT_LE(volume->f_bfree, volume->f_blocks);
    EXPECT_LE(volume->f_bavail, volume->f_bfree);
    EXPECT_GT(volume->f_blocks - volume->f_bfree + volume->f_bavail, 0U);
}

TEST_P(BackendSuite, TheLoadIsNotNegativeAndTheMachineHasBooted) {
    const Backend::Instance backend = GetParam().make();
    const auto reading = backend.machine.read();
    const auto averages = reading->loadAverages();
    ASSERT_TRUE(averages);
    for (const double load : *averages) {
        EXPECT_GE(load, 0);
    }
    const auto boot = reading->bootTime();
    ASSERT_TRUE(boot);
    EXPECT_GT(*boot, 0);
}

TEST_P(BackendSuite, EachProcessIsListedOnceAndAgain) {
    const Backend::Instance backend = GetParam().make();
    const std::vector<std::int32_t> pids = backend.processes.listAllPids();
    EXPECT_FALSE(pids.empty());
    EXPECT_EQ(std::set<std::int32_t>(pids.begin(), pids.end()).size(), pids.size());
    EXPECT_TRUE(std::all_of(pids.begin(), pids.end(), [](std::int32_t pid) { return pid >= 0; }));
    // On a living machine others come and go, but this many do not.
    const std::vector<std::int32_t> again = backend.processes.listAllPids();
    EXPECT_TRUE(std::any_of(pids.begin(), pids.end(), [&](std::int32_t pid) {
        return std::find(again.begin(), again.end(), pid) != again.end();
    }));
}

TEST_P(BackendSuite, SomeProcessHasAFootprintAndAName) {
    const Backend::Instance backend = GetParam().make();
    int named = 0;
    for (const std::int32_t pid : backend.processes.listAllPids()) {
        const auto footprint = backend.processes.physFootprint(pid);
        const std::string name = backend.processes.name(pid);
        EXPECT_LE(name.size(), 255U);
        EXPECT_EQ(name.find('\0'), std::string::npos);
        named += footprint.value_or(0) > 0 && !name.empty() ? 1 : 0;
    }
    EXPECT_GT(named, 0);
}

TEST_P(BackendSuite, AProcessThatIsNotThereHasNeitherFootprintNorName) {
    const Backend::Instance backend = GetParam().make();
    for (const std::int32_t pid : {2147483647, -1}) {
        EXPECT_FALSE(backend.processes.physFootprint(pid));
        EXPECT_EQ(backend.processes.name(pid), "");
        backend.processes.terminate(pid);
    }
    EXPECT_GT(backend.processes.currentProcessIdentifier(), 0);
}

TEST_P(BackendSuite, FiguresThatCannotBeReadAreNoneAndNeverZeros) {
    const Backend::Instance backend = GetParam().makeFailing();
    const auto reading = backend.machine.read();
    EXPECT_FALSE(reading->physicalMemory());
    EXPECT_FALSE(reading->processorCount());
    EXPECT_FALSE(reading->vmStatistics());
    EXPECT_FALSE(reading->cpuTicks());
    EXPECT_FALSE(reading->memoryPressureLevel());
    EXPECT_FALSE(reading->swapUsage());
    EXPECT_FALSE(reading->dataVolume());
    EXPECT_FALSE(reading->loadAverages());
    EXPECT_FALSE(reading->bootTime());
    EXPECT_TRUE(backend.processes.listAllPids().empty());
    EXPECT_FALSE(backend.processes.physFootprint(1));
    EXPECT_EQ(backend.processes.name(1), "");
}

TEST_P(BackendSuite, OneReadingMayBeTakenWhileAnotherLasts) {
    const Backend::Instance backend = GetParam().make();
    const auto earlier = backend.machine.read();
    EXPECT_TRUE(earlier->bootTime()); // from the file of the ticks, where there is one
    const auto later = backend.machine.read();
    const auto first = later->cpuTicks();
    const auto second = earlier->cpuTicks();
    const auto third = backend.machine.read()->cpuTicks();
    ASSERT_TRUE(first && second && third);
    for (const auto counter : {&CpuTicks::user, &CpuTicks::system, &CpuTicks::idle}) {
        EXPECT_GE((*second).*counter, (*first).*counter);
        EXPECT_GE((*third).*counter, (*second).*counter);
    }
}

} // namespace korvel::platform
