#include <array>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/services.h"

namespace korvel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <auto Function, auto Field>
void expectToFailAlone(const char* name) {
    SimulatedMachine machine;
    const auto reading = machine.read();
    EXPECT_TRUE(((*reading).*Function)()) << name;
    (machine.readings.*Field).fails = true;
    EXPECT_FALSE(((*reading).*Function)()) << name;
    SimulatedMachine others;
    (others.readings.*Field).fails = true;
    const auto rest = others.read();
    const int failed = !rest->physicalMemory() + !rest->processorCount() + !rest->vmStatistics() +
                       !rest->cpuTicks() + !rest->memoryPressureLevel() + !rest->swapUsage() +
                       !rest->dataVolume() + !rest->loadAverages() + !rest->bootTime();
    EXPECT_EQ(failed, 1) << name;
}

TEST(SimulatedMachine, EachFigureFailsOnItsOwn) {
    using In = SimulatedReadings;
    using Out = MachineReading;
    expectToFailAlone<&Out::physicalMemory, &In::physicalMemory>("memory");
    expectToFailAlone<&Out::processorCount, &In::processorCount>("processors");
    expectToFailAlone<&Out::vmStatistics, &In::vm>("pages");
    expectToFailAlone<&Out::cpuTicks, &In::cpuTicks>("ticks");
    expectToFailAlone<&Out::memoryPressureLevel, &In::pressureLevel>("pressure");
    expectToFailAlone<&Out::swapUsage, &In::swap>("swap");
    expectToFailAlone<&Out::dataVolume, &In::volume>("volume");
    expectToFailAlone<&Out::loadAverages, &In::load>("load");
    expectToFailAlone<&Out::bootTime, &In::bootTime>("boot time");
}

TEST(SimulatedMachine, IsReadWhenItIsAsked) {
    SimulatedMachine machine;
    const auto reading = machine.read();
    machine.readings.load.value = {1.5, 2, 3};
    EXPECT_EQ(reading->loadAverages(), (std::array{1.5, 2.0, 3.0}));
}

TEST(SimulatedMachine, AFigureThatComesBackGoesOnFromWhereItWas) {
    SimulatedMachine machine;
    machine.readings.swap.value = {100, 60, 40};
    machine.readings.swap.fails = true;
    machine.readings.swap.fails = false;
    EXPECT_EQ(machine.read()->swapUsage()->xsu_used, 40U);
}

TEST(SimulatedMachine, TheHealthyOneAccountsForAllOfItsMemory) {
    SimulatedMachine machine;
    const auto reading = machine.read();
    const VmStatistics vm = reading->vmStatistics().value();
    EXPECT_EQ((std::uint64_t{vm.free_count} + vm.active_count + vm.inactive_count + vm.wire_count +
               vm.compressor_page_count) *
                  reading->pageSize(),
              reading->physicalMemory());
}

TEST(SimulatedProcesses, ListsInTheOrderOfTheTable) {
    SimulatedProcesses processes;
    processes.table = {{30, "c", 1, {}}, {10, "a", 2, {}}, {0, "kernel", {}, {}}};
    EXPECT_THAT(processes.listAllPids(), ElementsAre(30, 10, 0));
    processes.listingFails = true;
    EXPECT_THAT(processes.listAllPids(), IsEmpty());
}

TEST(SimulatedProcesses, WhatIsNotThereCannotBeRead) {
    SimulatedProcesses processes;
    processes.table = {{30, "c", std::nullopt, {}}};
    EXPECT_EQ(processes.physFootprint(30), std::nullopt);
    EXPECT_EQ(processes.physFootprint(31), std::nullopt);
    EXPECT_EQ(processes.name(31), "");
}

TEST(SimulatedProcesses, ANameEndsAtItsFirstNulOrAfter255Bytes) {
    SimulatedProcesses processes;
    processes.table = {{1, std::string("ab\0cd", 5), 1, {}}, {2, std::string(300, 'x'), 1, {}}};
    EXPECT_EQ(processes.name(1), "ab");
    EXPECT_EQ(processes.name(2), std::string(255, 'x'));
}

TEST(SimulatedProcesses, ASignalledProcessStaysUntilTheTableChanges) {
    SimulatedProcesses processes;
    processes.table = {{30, "c", 7, {}}};
    processes.terminate(30);
    EXPECT_THAT(processes.terminated, ElementsAre(30));
    EXPECT_THAT(processes.listAllPids(), ElementsAre(30));
    EXPECT_EQ(processes.physFootprint(30), 7U);
}

TEST(SimulatedAgents, ALabelIsLoadedWhenItIsListedAsAWhole) {
    SimulatedAgents agents;
    agents.loaded = {"org.example.agent"};
    EXPECT_TRUE(agents.isLoaded("org.example.agent"));
    EXPECT_FALSE(agents.isLoaded("org.example"));
}

TEST(FallibleFigure, SetToNothingFailsAndKeepsItsValue) {
    Fallible<int> figure{5};
    figure.set(std::nullopt);
    EXPECT_EQ(figure.take(), std::nullopt);
    EXPECT_EQ(figure.value, 5);
    figure.set(7);
    EXPECT_EQ(figure.take(), 7);
}

TEST(SimulatedSwappedMemory, CannotBeToldOfAProcessThatIsNotListed) {
    SimulatedSwappedMemory memory;
    memory.bytes[7] = 4096;
    EXPECT_EQ(memory.swappedOut(7), 4096);
    EXPECT_EQ(memory.swappedOut(8), std::nullopt);
}

TEST(SimulatedServices, WriteIntoOneLogInTheOrderOfTheCalls) {
    SimulatedServices simulated;
    CallLog log;
    simulated.logTo(log);
    const Services services = simulated.services();
    services.machine.read()->cpuTicks();
    services.clock.now();
    services.processes.terminate(12);
    services.processes.currentProcessIdentifier();
    services.agents.isLoaded("label");
    services.runLoop.after(1.5, [] {});
    services.runLoop.async([] {});
    services.runLoop.background([] {});
    services.files.homeDirectory();
    services.files.read("/a");
    services.statusBar.setMainMenu({});
    EXPECT_THAT(log, ElementsAre("cpuTicks", "now", "terminate 12", "currentProcessIdentifier",
                                 "isLoaded label", "after 1.5", "async", "background",
                                 "homeDirectory", "read /a", "setMainMenu"));
}

} // namespace
} // namespace korvel::platform
