#pragma once

#include "platform/processes.h"

namespace korvel::platform {

/// The process table as libproc tells it. Nothing is kept between calls.
class MacosProcesses final : public Processes {
  public:
    std::vector<std::int32_t> listAllPids() override;
    /// The physical footprint that the kernel charges to the process.
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override;
    std::string name(std::int32_t pid) override;
    void terminate(std::int32_t pid) override;
    std::int32_t currentProcessIdentifier() override;
};

} // namespace korvel::platform
