#include "report/reading_texts.h"

#include <array>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/simulated/machine.h"
#include "platform/simulated/processes.h"

namespace korvel {
namespace {
class ReadingTextsTest : public testing::Test {
  protected:
    platform::SimulatedMachine machine;
    platform::SimulatedProcesses processes;
    std::unique_ptr<platform::MachineReading> reading = machine.read();
    ReadingTexts texts{*reading, processes};
};

TEST_F(ReadingTextsTest, SayEachReadingInTheUnitsOfTheSystem) {
    machine.readings.swap.set(platform::SwapUsage{30, 20, 10});
    machine.readings.load.set(std::array<double, 3>{1.5, 2.25, 0});
    machine.readings.pressureLevel.set(2);
    machine.readings.thermalState = 1;
    EXPECT_EQ(texts.physicalMemory(), "17179869184 bytes");
    EXPECT_EQ(texts.processorCount(), "10");
    EXPECT_EQ(texts.pageSize(), "16384 bytes");
    EXPECT_EQ(texts.thermalState(), "1");
    EXPECT_EQ(texts.vmStatistics(),
              "free 196608, active 327680, inactive 393216, wired 131072, speculative 0, "
              "purgeable 0, compressor 0 pages; 0 of 16 KiB swapped out");
    EXPECT_EQ(texts.memory(), "available 9663676416, used 7516192768 bytes");
    EXPECT_EQ(texts.compressedMemory(), "0 bytes");
    EXPECT_EQ(texts.memoryPressureLevel(), "2");
    EXPECT_EQ(texts.swapUsage(), "total 30, used 10, free 20 bytes");
    EXPECT_EQ(texts.dataVolume(), "total 536870912000, available 268435456000 bytes");
    EXPECT_EQ(texts.cpuTicks(), "user 1000, system 500, idle 100000, nice 0");
    EXPECT_EQ(texts.loadAverages(), "1.50 2.25 0.00");
    EXPECT_EQ(texts.bootTime(), "1699726400 s since 1970");
}

TEST_F(ReadingTextsTest, OneThatCannotBeTakenIsNone) {
    machine.readings.physicalMemory.fails = true;
    machine.readings.processorCount.fails = true;
    machine.readings.vm.fails = true;
    machine.readings.cpuTicks.fails = true;
    machine.readings.pressureLevel.fails = true;
    machine.readings.swap.fails = true;
    machine.readings.volume.fails = true;
    machine.readings.load.fails = true;
    machine.readings.bootTime.fails = true;
    for (const std::string& text :
         {texts.physicalMemory(), texts.processorCount(), texts.vmStatistics(), texts.cpuTicks(),
          texts.memory(), texts.compressedMemory(), texts.memoryPressureLevel(), texts.swapUsage(),
          texts.dataVolume(), texts.loadAverages(), texts.bootTime()}) {
        EXPECT_EQ(text, "none");
    }
}

TEST_F(ReadingTextsTest, WhatTheMachineDoesNotHaveIsNotReported) {
    machine.readings.pressureLevel.set(2);
    machine.readings.unreported = {.dataVolume = true, .thermalState = true, .memoryStall = true};
    processes.othersHidden = true;
    EXPECT_EQ(texts.thermalState(), "not reported here");
    EXPECT_EQ(texts.dataVolume(), "not reported here");
    EXPECT_EQ(texts.memoryPressureLevel(), "2, by available memory alone");
    EXPECT_EQ(texts.processes(), "0 listed, 0 readable, those of other users not reported here");
}

TEST_F(ReadingTextsTest, TheHeaviestProcessIsNamed) {
    EXPECT_EQ(texts.processes(), "0 listed, 0 readable");
    processes.table = {{7, "light", 10, {}}, {8, "heavy \xff", 30, {}}, {9, "gone", {}, {}}};
    EXPECT_EQ(texts.processes(),
              "3 listed, 2 readable; heaviest: 8 heavy \xef\xbf\xbd with 30 bytes");
}

} // namespace
} // namespace korvel
