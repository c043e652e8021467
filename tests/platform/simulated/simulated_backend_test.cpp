#include <memory>

#include <gtest/gtest.h>

#include "platform/backend_suite.h"
#include "platform/simulated/machine.h"
#include "platform/simulated/processes.h"

namespace korvel::platform {
namespace {

struct Simulated {
    SimulatedMachine machine;
    SimulatedProcesses processes;
};

Backend::Instance instance(const std::shared_ptr<Simulated>& simulated) {
    return {simulated, simulated->machine, simulated->processes};
}

Backend::Instance makeHealthy() {
    const auto simulated = std::make_shared<Simulated>();
    simulated->processes.table = {{1, "init", 12582912, {}}, {500, "Korvel", 41943040, {}}};
    return instance(simulated);
}

Backend::Instance makeFailing() {
    const auto simulated = std::make_shared<Simulated>();
    SimulatedReadings& readings = simulated->machine.readings;
    readings.physicalMemory.fails = true;
    readings.processorCount.fails = true;
    readings.vm.fails = true;
    readings.cpuTicks.fails = true;
    readings.pressureLevel.fails = true;
    readings.swap.fails = true;
    readings.volume.fails = true;
    readings.load.fails = true;
    readings.bootTime.fails = true;
    simulated->processes.table = {{1, "", {}, {}}};
    simulated->processes.listingFails = true;
    return instance(simulated);
}

INSTANTIATE_TEST_SUITE_P(Simulated, BackendSuite,
                         testing::Values(Backend{"Healthy", makeHealthy, makeFailing}),
                         backendName);

} // namespace
} // namespace korvel::platform
