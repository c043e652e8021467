#pragma once

#include <mutex>
#include <unordered_map>

#include "platform/processes.h"

namespace korvel::platform {

/// The process table as libproc tells it. Of a walk over it, the start times are kept: they come
/// with the footprints, and a process that is listed is not asked twice.
class MacosProcesses final : public Processes {
  public:
    std::vector<std::int32_t> listAllPids() override;
    /// The physical footprint that the kernel charges to the process.
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override;
    std::string name(std::int32_t pid) override;
    std::optional<std::uint64_t> startTime(std::int32_t pid) override;
    void terminate(std::int32_t pid) override;
    void terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) override;
    std::int32_t currentProcessIdentifier() override;

  private:
    std::mutex mutex_;
    std::unordered_map<std::int32_t, std::uint64_t> startTimes_; ///< by pid, since the last listing
};

} // namespace korvel::platform
