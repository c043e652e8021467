#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"

namespace korvel::platform {
namespace {

void readEverything(LinuxMachine& machine) {
    const auto reading = machine.read();
    reading->physicalMemory();
    reading->processorCount();
    reading->vmStatistics();
    reading->memoryPressureLevel();
    reading->cpuTicks();
    reading->swapUsage();
    reading->dataVolume();
    reading->loadAverages();
    reading->bootTime();
    reading->thermalState();
}

std::string root(const std::string& fixture) {
    return fixture.empty() ? "/" : std::string(KORVEL_FIXTURES) + "/linux/" + fixture;
}

TEST(SteadyState, TheMachinesFilesAreOpenedOnce) {
    for (const char* fixture : {"laptop", "server_128_processors", ""}) {
        CountingCalls calls;
        LinuxMachine machine(root(fixture), "/", calls);
        readEverything(machine);
        const int opened = calls.opened;
        EXPECT_GT(opened, 4) << fixture;
        for (int sample = 0; sample < 100; ++sample) {
            readEverything(machine);
        }
        EXPECT_EQ(calls.opened, opened) << fixture;
    }
}

TEST(SteadyState, FilesThatAreNotThereAreLookedForOnceAMinute) {
    constexpr int kMinutes = 5;
    constexpr int kSamples = 12 * kMinutes;
    CountingCalls calls;
    LinuxMachine machine(root("container"), "/", calls);
    readEverything(machine);
    const int before = calls.opens;
    const int opened = calls.opened;
    for (int sample = 0; sample < kSamples; ++sample) {
        readEverything(machine);
    }
    EXPECT_EQ(calls.opened, opened);
    // The figures of ZFS, the pressure file and the folders of zones and of block devices.
    EXPECT_LE(calls.opens - before, 4 * kMinutes);
}

TEST(SteadyState, ASampleReadsEachFileOnce) {
    CountingCalls calls;
    LinuxMachine machine(root("laptop"), "/", calls);
    readEverything(machine);
    const int before = calls.reads;
    readEverything(machine);
    // meminfo, stat, vmstat, pressure, loadavg, online, one device, one throttle, and of the one
    // zone that decides the mode and the temperature: each with one call.
    EXPECT_EQ(calls.reads - before, 8 + 2);
}

TEST(SteadyState, DescriptorsDoNotGrow) {
    const auto open = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    LinuxMachine machine;
    LinuxProcesses processes(root("laptop"));
    const auto sample = [&] {
        readEverything(machine);
        for (const std::int32_t pid : processes.listAllPids()) {
            processes.physFootprint(pid);
            processes.name(pid);
        }
    };
    sample();
    const auto before = open();
    for (int repeat = 0; repeat < 50; ++repeat) {
        sample();
    }
    EXPECT_EQ(open(), before);
}

TEST(SteadyState, EverythingIsClosedAtTheEnd) {
    const auto open = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = open();
    {
        LinuxMachine machine;
        LinuxProcesses processes;
        readEverything(machine);
        for (const std::int32_t pid : processes.listAllPids()) {
            processes.physFootprint(pid);
        }
        EXPECT_GT(open(), before);
    }
    EXPECT_EQ(open(), before);
}

} // namespace
} // namespace korvel::platform
