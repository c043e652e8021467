#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/processes.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// One process of a simulated machine.
struct SimulatedProcess {
    std::int32_t pid = 0;
    std::string name;                           ///< empty: cannot be read
    std::optional<std::uint64_t> physFootprint; ///< bytes; none: cannot be read
    /// What the memory-map tool says of it; none: the tool cannot be started.
    std::optional<std::string> vmmap;
    std::optional<std::uint64_t> startTime = std::nullopt; ///< none: not told
};

/// A process table that only its owner changes. A process that was asked to end stays in it until
/// then, as one does that takes its time or refuses.
class SimulatedProcesses final : public Processes, public Logging {
  public:
    std::vector<SimulatedProcess> table;
    bool listingFails = false;
    bool othersHidden = false;
    std::int32_t ownPid = 500;
    std::vector<std::int32_t> terminated;              ///< who was asked to end, in order
    std::function<void(std::int32_t pid)> onTerminate; ///< called at each; may be empty
    int startTimesAsked = 0;                           ///< so far

    /// The entry of `pid`, the first of several; null when there is none.
    const SimulatedProcess* find(std::int32_t pid) const;

    std::vector<std::int32_t> listAllPids() override;
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override;
    /// As from the system's own buffer: up to the first NUL, at most 255 bytes.
    std::string name(std::int32_t pid) override;
    std::optional<std::uint64_t> startTime(std::int32_t pid) override; ///< not in the log
    void terminate(std::int32_t pid) override;
    void terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) override;
    std::int32_t currentProcessIdentifier() override;
    bool hidesOthers() override { return othersHidden; }
};

} // namespace korvel::platform
