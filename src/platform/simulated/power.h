#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/power.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// Grants or refuses each type as it is told, and numbers what it grants from 1 on.
class SimulatedPower final : public PowerAssertions, public Logging {
  public:
    bool grantsDisplay = true;
    bool grantsSystem = true;

    std::map<PowerAssertionId, PowerAssertionType> held;
    /// Called at each creation that was granted, and at each release; may be empty.
    std::function<void(const char* op, PowerAssertionType type, PowerAssertionId id)> onChange;

    std::optional<PowerAssertionId> create(PowerAssertionType type,
                                           const std::string& name) override;
    bool holds(PowerAssertionId id) const override;
    void release(PowerAssertionId id) override;

    /// The system's name of the type.
    static const char* typeName(PowerAssertionType type);

  private:
    PowerAssertionId made_ = 0;
};

} // namespace korvel::platform
