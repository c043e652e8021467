#include <cstdint>
#include <limits>
#include <optional>

#include "simulation/scenario_parts.h"

namespace korvel::simulation {

namespace {

using platform::CpuTicks;
using platform::Fallible;
using platform::SimulatedProcess;
using platform::SimulatedReadings;
using platform::SwapUsage;
using platform::VmStatistics;
using platform::VolumeStatistics;

constexpr Key<VmStatistics> kVmKeys[] = {
    {"free_count", readField<&VmStatistics::free_count>},
    {"active_count", readField<&VmStatistics::active_count>},
    {"inactive_count", readField<&VmStatistics::inactive_count>},
    {"wire_count", readField<&VmStatistics::wire_count>},
    {"speculative_count", readField<&VmStatistics::speculative_count>},
    {"purgeable_count", readField<&VmStatistics::purgeable_count>},
    {"compressor_page_count", readField<&VmStatistics::compressor_page_count>},
    {"swapouts", readField<&VmStatistics::swapouts>},
};

constexpr Key<SwapUsage> kSwapKeys[] = {
    {"xsu_total", readField<&SwapUsage::xsu_total>},
    {"xsu_avail", readField<&SwapUsage::xsu_avail>},
    {"xsu_used", readField<&SwapUsage::xsu_used>},
};

constexpr Key<VolumeStatistics> kVolumeKeys[] = {
    {"f_bsize", readField<&VolumeStatistics::f_bsize>},
    {"f_blocks", readField<&VolumeStatistics::f_blocks>},
    {"f_bfree", readField<&VolumeStatistics::f_bfree>},
    {"f_bavail", readField<&VolumeStatistics::f_bavail>},
};

/// Reads null as "fails", and anything else into the value.
template <typename T, typename ReadValue>
void readFallible(const JsonValue& value, Fallible<T>& figure, ReadValue readValue) {
    figure.fails = value.isNull();
    if (!figure.fails) {
        readValue(figure.value);
    }
}

template <typename T, std::size_t Count>
void readRecord(const JsonValue& value, const Key<T> (&keys)[Count], Fallible<T>& figure) {
    readFallible(value, figure, [&](T& record) { readMembers(value, keys, record); });
}

template <auto Field>
void readPlain(const JsonValue& value, MachineState& machine) {
    read(value, machine.readings.*Field);
}

template <auto Field>
void readOrFail(const JsonValue& value, MachineState& machine) {
    readFallible(value, machine.readings.*Field, [&](auto& into) { read(value, into); });
}

void readProcessorCount(const JsonValue& value, MachineState& machine) {
    machine.readings.processorCount.value =
        static_cast<int>(value.wholeNumber(1, std::numeric_limits<int>::max()));
}

void readCpuTicks(const JsonValue& value, MachineState& machine) {
    readFallible(value, machine.readings.cpuTicks, [&](CpuTicks& ticks) {
        std::array<std::uint32_t, 4> counters{};
        read(value, counters);
        ticks = {counters[0], counters[1], counters[2], counters[3]};
    });
}

template <typename T>
void readOptional(const JsonValue& value, std::optional<T>& into) {
    if (value.isNull()) {
        into.reset();
    } else {
        read(value, into.emplace());
    }
}

constexpr Key<SimulatedProcess> kProcessKeys[] = {
    {"pid", readField<&SimulatedProcess::pid>},
    {"name", readField<&SimulatedProcess::name>},
    {"phys_footprint",
     [](const JsonValue& value, SimulatedProcess& process) {
         readOptional(value, process.physFootprint);
     }},
    {"vmmap",
     [](const JsonValue& value, SimulatedProcess& process) { readOptional(value, process.vmmap); }},
};

void readProcesses(const JsonValue& value, MachineState& machine) {
    machine.processes.listingFails = value.isNull();
    if (value.isNull()) {
        return;
    }
    std::vector<SimulatedProcess> table;
    value.forEachElement([&](const JsonValue& element) {
        element.member("pid"); // the one key that must be there
        readMembers(element, kProcessKeys, table.emplace_back());
    });
    machine.processes.table = std::move(table);
}

constexpr Key<MachineState> kMachineKeys[] = {
    {"physicalMemory",
     [](const JsonValue& value, MachineState& machine) {
         read(value, machine.readings.physicalMemory.value);
     }},
    {"processorCount", readProcessorCount},
    {"thermalState", readPlain<&SimulatedReadings::thermalState>},
    {"pageSize", readPlain<&SimulatedReadings::pageSize>},
    {"vm", [](const JsonValue& value,
              MachineState& machine) { readRecord(value, kVmKeys, machine.readings.vm); }},
    {"cpuTicks", readCpuTicks},
    {"pressureLevel", readOrFail<&SimulatedReadings::pressureLevel>},
    {"swap", [](const JsonValue& value,
                MachineState& machine) { readRecord(value, kSwapKeys, machine.readings.swap); }},
    {"volume",
     [](const JsonValue& value, MachineState& machine) {
         readRecord(value, kVolumeKeys, machine.readings.volume);
     }},
    {"load", readOrFail<&SimulatedReadings::load>},
    {"bootTime", readOrFail<&SimulatedReadings::bootTime>},
    {"processes", readProcesses},
    {"agents",
     [](const JsonValue& value, MachineState& machine) {
         readFallible(value, machine.agents, [&](std::string& into) { read(value, into); });
     }},
    {"ownPid",
     [](const JsonValue& value, MachineState& machine) { read(value, machine.processes.ownPid); }},
};

} // namespace

MachineChange readMachine(const JsonValue& object, const Document& document) {
    // Tried on a machine that is thrown away, so that every error is found before the launch.
    SimulatedReadings readings;
    platform::SimulatedProcesses processes;
    Fallible<std::string> agents;
    MachineState scratch{readings, processes, agents};
    readMembers(object, kMachineKeys, scratch);
    return [element = object.element(), document](MachineState& machine) {
        readMembers(JsonValue(element), kMachineKeys, machine);
    };
}

} // namespace korvel::simulation
