#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/simulated/call_log.h"
#include "platform/swapped_memory.h"

namespace korvel::platform {

/// Swapped-out sizes of a given list.
class SimulatedSwappedMemory final : public SwappedMemory, public Logging {
  public:
    std::map<std::int32_t, double> bytes; ///< by pid; cannot be told of any other

    std::optional<double> swappedOut(std::int32_t pid) override {
        note("swappedOut ", pid);
        const auto found = bytes.find(pid);
        return found == bytes.end() ? std::nullopt : std::optional<double>(found->second);
    }
};

} // namespace korvel::platform
