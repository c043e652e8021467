// What the program asks of Mach, BSD and IOKit, which are not on this system: a simulated machine
// answers.
#include "platform/macos/native/with_qt/program_stand_ins.h"
#include "platform/macos/macos_machine.h"
#include "platform/macos/macos_power_assertions.h"
#include "platform/macos/macos_processes.h"
#include "platform/macos/macos_program_loader.h"

#include <utility>

#include "platform/simulated/machine.h"
#include "platform/simulated/processes.h"

namespace korvel::kit {

platform::SimulatedPower& power() {
    static auto& instance = *new platform::SimulatedPower; // asked until the process has ended
    return instance;
}

namespace {

platform::SimulatedProcesses& processes() {
    static platform::SimulatedProcesses instance;
    return instance;
}

} // namespace

} // namespace korvel::kit

namespace korvel::platform {

MacosMachine::MacosMachine(std::function<int()> thermalState)
    : thermalState_(std::move(thermalState)) {}

std::unique_ptr<MachineReading> MacosMachine::read() {
    static SimulatedMachine machine;
    return machine.read();
}

std::vector<std::int32_t> MacosProcesses::listAllPids() {
    return kit::processes().listAllPids();
}

std::optional<std::uint64_t> MacosProcesses::physFootprint(std::int32_t pid) {
    return kit::processes().physFootprint(pid);
}

std::string MacosProcesses::name(std::int32_t pid) {
    return kit::processes().name(pid);
}

std::optional<std::uint64_t> MacosProcesses::startTime(std::int32_t pid) {
    return kit::processes().startTime(pid);
}

void MacosProcesses::terminate(std::int32_t pid) {
    kit::processes().terminate(pid);
}

void MacosProcesses::terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) {
    kit::processes().terminateIfSame(pid, startTime);
}

std::int32_t MacosProcesses::currentProcessIdentifier() {
    return kit::processes().currentProcessIdentifier();
}

std::optional<PowerAssertionId> MacosPowerAssertions::create(PowerAssertionType type,
                                                             const std::string& name) {
    return kit::power().create(type, name);
}

bool MacosPowerAssertions::holds(PowerAssertionId id) const {
    return kit::power().holds(id);
}

void MacosPowerAssertions::release(PowerAssertionId id) {
    kit::power().release(id);
}

Status<LoadFault> MacosProgramLoader::check(const std::string& /*bundle*/) {
    return {};
}

} // namespace korvel::platform
