#include <algorithm>

#include "base/fatal.h"
#include "base/utf8.h"
#include "core/metrics.h"
#include "core/units.h"
#include "platform/processes.h"
#include "platform/swapped_memory.h"

namespace korvel {

std::vector<ProcInfo> Metrics::topProcesses(int limit) const {
    // Smaller processes are not listed: there are many, and a name costs a call.
    constexpr double kSmallestListedGB = 0.05;
    if (limit < 0) {
        fatal();
    }
    std::vector<ProcInfo> found;
    for (const std::int32_t pid : processes_.listAllPids()) {
        if (pid < 1) {
            continue;
        }
        const std::optional<std::uint64_t> footprint = processes_.physFootprint(pid);
        if (!footprint) {
            continue;
        }
        const double gb = gigabytes(static_cast<double>(*footprint));
        if (!(gb > kSmallestListedGB)) {
            continue;
        }
        // Asked only now: a name costs more than a footprint.
        const std::string bytes = processes_.name(pid);
        std::string name = decodeUtf8Lossy(bytes.substr(0, bytes.find('\0')));
        if (!name.empty()) {
            found.push_back({pid, std::move(name), gb});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const ProcInfo& a, const ProcInfo& b) { return a.gb > b.gb; });
    found.resize(std::min(found.size(), static_cast<std::size_t>(limit)));
    for (ProcInfo& process : found) {
        process.startTime = processes_.startTime(process.id);
    }
    return found;
}

double Metrics::swappedGB(std::int32_t pid, platform::SwappedMemory& memory) {
    return gigabytes(memory.swappedOut(pid).value_or(0));
}

} // namespace korvel
