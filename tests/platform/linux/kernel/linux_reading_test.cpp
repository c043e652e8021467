#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/linux_machine.h"
#include "support/temp_tree.h"

// A reading and its files: what is read, how often, and what two readings have in common.
namespace korvel::platform {
namespace {

constexpr const char* kStat = "proc/stat";

std::string statOf(int ticks) {
    return "cpu0 " + std::to_string(ticks) + " 0 0 1000 0 0 0 0 0 0\nbtime 1700000000\n";
}

void askForAll(MachineReading& reading) {
    reading.physicalMemory();
    reading.processorCount();
    reading.thermalState();
    reading.pageSize();
    reading.vmStatistics();
    reading.cpuTicks();
    reading.memoryPressureLevel();
    reading.swapUsage();
    reading.dataVolume();
    reading.loadAverages();
    reading.bootTime();
}

/// The laptop of the fixtures, each of whose files can be read.
class LinuxReading : public testing::Test {
  protected:
    /// How often each file was read since the last call, by its path below the root.
    std::map<std::string, int> timesRead() {
        const std::map<std::string, int> all = calls.timesRead();
        std::map<std::string, int> since;
        for (const auto& [path, times] : all) {
            if (times > before_[path]) {
                since[path.substr(root.size() + 1)] = times - before_[path];
            }
        }
        before_ = all;
        return since;
    }

    const std::string root = std::string(KORVEL_FIXTURES) + "/linux/laptop";
    CountingCalls calls;
    LinuxMachine machine{root, "/", calls};

  private:
    std::map<std::string, int> before_;
};

TEST_F(LinuxReading, ReadsNothingBeforeItIsAsked) {
    machine.read();
    EXPECT_EQ(calls.opens, 0);
    EXPECT_EQ(calls.reads, 0);
}

TEST_F(LinuxReading, ReadsEachFileOnceHoweverOftenItIsAsked) {
    askForAll(*machine.read()); // finds the thermal zones
    timesRead();
    const auto reading = machine.read();
    for (int repeat = 0; repeat < 3; ++repeat) {
        askForAll(*reading);
    }
    const std::map<std::string, int> times = timesRead();
    EXPECT_GE(times.size(), 8U);
    for (const auto& [path, count] : times) {
        EXPECT_EQ(count, 1) << path;
    }
}

TEST_F(LinuxReading, TwoOfThemReadEachFileTwice) {
    askForAll(*machine.read());
    timesRead();
    const auto one = machine.read();
    const auto other = machine.read();
    askForAll(*one);
    askForAll(*other);
    const std::map<std::string, int> times = timesRead();
    EXPECT_GE(times.size(), 8U);
    for (const auto& [path, count] : times) {
        EXPECT_EQ(count, 2) << path;
    }
}

TEST_F(LinuxReading, WhatIsNotAskedForIsNotRead) {
    const struct {
        const char* name;
        void (*ask)(MachineReading&);
        std::set<std::string> files;
    } cases[] = {
        {"memory", [](MachineReading& r) { r.physicalMemory(); }, {"proc/meminfo"}},
        {"swap", [](MachineReading& r) { r.swapUsage(); }, {"proc/meminfo"}},
        {"pages",
         [](MachineReading& r) { r.vmStatistics(); },
         {"proc/meminfo", "proc/vmstat", "sys/block/zram0/mm_stat"}},
        {"pressure",
         [](MachineReading& r) { r.memoryPressureLevel(); },
         {"proc/meminfo", "proc/pressure/memory"}},
        {"ticks", [](MachineReading& r) { r.cpuTicks(); }, {kStat}},
        {"boot time", [](MachineReading& r) { r.bootTime(); }, {kStat}},
        {"load", [](MachineReading& r) { r.loadAverages(); }, {"proc/loadavg"}},
        {"processors",
         [](MachineReading& r) { r.processorCount(); },
         {"sys/devices/system/cpu/online"}},
        {"page size", [](MachineReading& r) { r.pageSize(); }, {}},
        {"volume", [](MachineReading& r) { r.dataVolume(); }, {}},
    };
    for (const auto& row : cases) {
        row.ask(*machine.read());
        std::set<std::string> read;
        for (const auto& [path, count] : timesRead()) {
            read.insert(path);
        }
        EXPECT_EQ(read, row.files) << row.name;
    }
}

TEST(LinuxReadings, FiguresOfOneFileAreOfOneMoment) {
    TempTree tree;
    tree.copyFixture("laptop");
    LinuxMachine machine(tree.root());
    const auto reading = machine.read();
    const auto memory = reading->physicalMemory();
    tree.write("proc/meminfo", "MemTotal: 1000 kB\nSwapTotal: 7 kB\nSwapFree: 7 kB\n");
    EXPECT_EQ(reading->swapUsage()->xsu_total, std::uint64_t{8058108} * 1024);
    EXPECT_EQ(reading->physicalMemory(), memory);
    EXPECT_EQ(machine.read()->swapUsage()->xsu_total, std::uint64_t{7} * 1024);
}

TEST(LinuxReadings, TicksDoNotFallWhereAnOlderReadingIsAskedLater) {
    TempTree tree;
    tree.write(kStat, statOf(100));
    LinuxMachine machine(tree.root());
    EXPECT_EQ(machine.read()->cpuTicks()->user, 0U);
    const auto older = machine.read();
    EXPECT_EQ(older->bootTime(), 1700000000);
    tree.write(kStat, statOf(150));
    EXPECT_EQ(machine.read()->cpuTicks()->user, 50U);
    EXPECT_EQ(older->cpuTicks()->user, 50U) << "although it saw 100";
    tree.write(kStat, statOf(160));
    EXPECT_EQ(machine.read()->cpuTicks()->user, 60U);
}

TEST(LinuxReadings, MayBeTakenOnSeveralThreadsAtOnce) {
    LinuxMachine machine(std::string(KORVEL_FIXTURES) + "/linux/laptop");
    const std::uint64_t swapouts = machine.read()->vmStatistics()->swapouts;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 50; ++repeat) {
                const auto reading = machine.read();
                askForAll(*reading);
                wrong += reading->physicalMemory() != std::uint64_t{16116236} * 1024 ? 1 : 0;
                wrong += reading->processorCount() != 8 ? 1 : 0;
                wrong += reading->bootTime() != 1763600000 ? 1 : 0;
                wrong += reading->vmStatistics()->swapouts != swapouts ? 1 : 0;
                wrong += reading->memoryPressureLevel() != 1 ? 1 : 0;
                wrong += reading->cpuTicks()->idle != 0 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace korvel::platform
