#include "platform/simulated/processes.h"

#include <algorithm>

namespace korvel::platform {

const SimulatedProcess* SimulatedProcesses::find(std::int32_t pid) const {
    const auto found =
        std::find_if(table.begin(), table.end(),
                     [pid](const SimulatedProcess& process) { return process.pid == pid; });
    return found == table.end() ? nullptr : &*found;
}

std::vector<std::int32_t> SimulatedProcesses::listAllPids() {
    note("listAllPids");
    std::vector<std::int32_t> pids;
    if (!listingFails) {
        pids.reserve(table.size());
        for (const SimulatedProcess& process : table) {
            pids.push_back(process.pid);
        }
    }
    return pids;
}

std::optional<std::uint64_t> SimulatedProcesses::physFootprint(std::int32_t pid) {
    note("physFootprint ", pid);
    const SimulatedProcess* process = find(pid);
    return process == nullptr ? std::nullopt : process->physFootprint;
}

std::string SimulatedProcesses::name(std::int32_t pid) {
    constexpr std::size_t kLongestName = 255; // bytes; the buffer's last one is its end
    note("name ", pid);
    const SimulatedProcess* process = find(pid);
    return process == nullptr
               ? std::string()
               : process->name.substr(0, process->name.find('\0')).substr(0, kLongestName);
}

std::optional<std::uint64_t> SimulatedProcesses::startTime(std::int32_t pid) {
    ++startTimesAsked;
    const SimulatedProcess* process = find(pid);
    return process == nullptr ? std::nullopt : process->startTime;
}

void SimulatedProcesses::terminate(std::int32_t pid) {
    note("terminate ", pid);
    terminated.push_back(pid);
    if (onTerminate) {
        onTerminate(pid);
    }
}

void SimulatedProcesses::terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) {
    const SimulatedProcess* process = find(pid);
    if (startTime == (process == nullptr ? std::nullopt : process->startTime)) {
        terminate(pid);
    }
}

std::int32_t SimulatedProcesses::currentProcessIdentifier() {
    note("currentProcessIdentifier");
    return ownPid;
}

} // namespace korvel::platform
