#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/simulated/call_log.h"
#include "platform/workspace.h"

namespace korvel::platform {

/// Keeps what was revealed and relaunched.
class SimulatedWorkspace final : public Workspace, public Logging {
  public:
    std::vector<std::string> revealed;
    std::vector<std::string> relaunched;
    // Called at each; may be empty.
    std::function<void(const std::string& path)> onReveal;
    std::function<void(const std::string& bundle)> onRelaunch;

    void reveal(const std::string& path) override {
        note("reveal ", path);
        revealed.push_back(path);
        if (onReveal) {
            onReveal(path);
        }
    }
    void relaunch(const std::string& bundle) override {
        note("relaunch ", bundle);
        relaunched.push_back(bundle);
        if (onRelaunch) {
            onRelaunch(bundle);
        }
    }
};

} // namespace korvel::platform
