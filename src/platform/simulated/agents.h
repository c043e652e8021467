#pragma once

#include <set>
#include <string>

#include "platform/agents.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// A service manager that has the agents of a given list loaded.
class SimulatedAgents final : public Agents, public Logging {
  public:
    std::set<std::string> loaded; ///< labels

    bool isLoaded(const std::string& label) override {
        note("isLoaded ", label);
        return loaded.count(label) != 0;
    }
};

} // namespace korvel::platform
