#include "platform/simulated/machine.h"

namespace korvel::platform {

class SimulatedMachine::Reading final : public MachineReading {
  public:
    explicit Reading(SimulatedMachine& machine) : machine_(machine) {}

    std::optional<std::uint64_t> physicalMemory() override {
        return asked("physicalMemory").physicalMemory.take();
    }

    std::optional<int> processorCount() override {
        return asked("processorCount").processorCount.take();
    }

    int thermalState() override { return asked("thermalState").thermalState; }

    std::uint64_t pageSize() override { return asked("pageSize").pageSize; }

    std::optional<VmStatistics> vmStatistics() override { return asked("vmStatistics").vm.take(); }

    std::optional<CpuTicks> cpuTicks() override { return asked("cpuTicks").cpuTicks.take(); }

    std::optional<std::int32_t> memoryPressureLevel() override {
        return asked("memoryPressureLevel").pressureLevel.take();
    }

    std::optional<SwapUsage> swapUsage() override { return asked("swapUsage").swap.take(); }

    std::optional<VolumeStatistics> dataVolume() override {
        return asked("dataVolume").volume.take();
    }

    std::optional<std::array<double, 3>> loadAverages() override {
        return asked("loadAverages").load.take();
    }

    std::optional<std::int64_t> bootTime() override { return asked("bootTime").bootTime.take(); }

    Unreported unreported() override { return machine_.readings.unreported; }

  private:
    const SimulatedReadings& asked(const char* function) {
        machine_.note(function);
        return machine_.readings;
    }

    SimulatedMachine& machine_;
};

std::unique_ptr<MachineReading> SimulatedMachine::read() {
    if (onRead) {
        onRead();
    }
    return std::make_unique<Reading>(*this);
}

} // namespace korvel::platform
