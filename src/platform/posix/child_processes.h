#pragma once

#include "platform/child_process.h"

namespace korvel::platform {

/// Starts children with posix_spawn. A descriptor that the program holds is not handed on, nor what
/// it changes of its environment later: children get the environment as it was when this was made.
class PosixChildProcesses final : public ChildProcesses {
  public:
    PosixChildProcesses();
    std::optional<ChildResult> run(const std::string& executable,
                                   const std::vector<std::string>& arguments,
                                   ChildStreams streams) override;
    bool start(const std::string& executable, const std::vector<std::string>& arguments) override;

  private:
    std::vector<std::string> environment_; ///< "NAME=value" each
};

} // namespace korvel::platform
