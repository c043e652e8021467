#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "core/metrics.h"
#include "platform/simulated/services.h"

namespace korvel::test {

/// A sampler on a simulated machine, with a log of what it asks.
struct SimulatedSampler : platform::SimulatedServices {
    platform::CallLog log;
    platform::SimulatedReadings& readings = machine.readings;
    Metrics metrics{machine, processes, agents, clock};

    SimulatedSampler() { logTo(log); }

    void addProcess(std::int32_t pid, std::string name, double gb) {
        processes.table.push_back(
            {pid, std::move(name), static_cast<std::uint64_t>(gb * 0x1p30), {}});
    }
};

} // namespace korvel::test
