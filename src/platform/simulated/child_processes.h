#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/child_process.h"

namespace korvel::platform {

/// Children that are never started: each executable has a given answer.
class SimulatedChildProcesses final : public ChildProcesses {
  public:
    using Arguments = std::vector<std::string>;

    struct Run {
        std::string executable;
        Arguments arguments;

        bool operator==(const Run&) const = default;
    };

    /// What an executable does; nullopt: it cannot be started, which is also true of every
    /// executable that is not listed here.
    std::map<std::string, std::function<std::optional<ChildResult>(const Arguments&)>> answers;

    std::vector<Run> runs;                 ///< what was asked, whether it could be started or not
    std::vector<ChildStreams> streams;     ///< where those of each run go
    std::function<void(const Run&)> onRun; ///< called at each; may be empty

    std::optional<ChildResult> run(const std::string& executable, const Arguments& arguments,
                                   ChildStreams streamsOfRun) override;
    /// Answered in the same way; what the child prints and its status are not looked at.
    bool start(const std::string& executable, const Arguments& arguments) override;
};

} // namespace korvel::platform
