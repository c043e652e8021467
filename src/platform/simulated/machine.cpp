#include "platform/simulated/machine.h"

namespace korvel::platform {

std::uint64_t SimulatedMachine::physicalMemory() {
    note("physicalMemory");
    return readings.physicalMemory;
}

int SimulatedMachine::processorCount() {
    note("processorCount");
    return readings.processorCount;
}

int SimulatedMachine::thermalState() {
    note("thermalState");
    return readings.thermalState;
}

std::uint64_t SimulatedMachine::pageSize() {
    note("pageSize");
    return readings.pageSize;
}

std::optional<VmStatistics> SimulatedMachine::vmStatistics() {
    note("vmStatistics");
    return readings.vm.take();
}

std::optional<CpuTicks> SimulatedMachine::cpuTicks() {
    note("cpuTicks");
    return readings.cpuTicks.take();
}

std::optional<std::int32_t> SimulatedMachine::memoryPressureLevel() {
    note("memoryPressureLevel");
    return readings.pressureLevel.take();
}

std::optional<SwapUsage> SimulatedMachine::swapUsage() {
    note("swapUsage");
    return readings.swap.take();
}

std::optional<VolumeStatistics> SimulatedMachine::dataVolume() {
    note("dataVolume");
    return readings.volume.take();
}

std::array<double, 3> SimulatedMachine::loadAverages() {
    note("loadAverages");
    return readings.load.take().value_or(std::array<double, 3>{});
}

std::optional<std::int64_t> SimulatedMachine::bootTime() {
    note("bootTime");
    return readings.bootTime.take();
}

} // namespace korvel::platform
