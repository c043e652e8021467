#pragma once

#include "platform/child_process.h"

namespace korvel::platform {

/// Starts children with posix_spawn. A descriptor that the program holds is not handed on.
class PosixChildProcesses final : public ChildProcesses {
  public:
    std::optional<ChildResult> run(const std::string& executable,
                                   const std::vector<std::string>& arguments,
                                   ChildStreams streams) override;
    bool start(const std::string& executable, const std::vector<std::string>& arguments) override;
};

} // namespace korvel::platform
