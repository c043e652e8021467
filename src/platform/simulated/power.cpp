#include "platform/simulated/power.h"

#include "base/fatal.h"

namespace korvel::platform {

const char* SimulatedPower::typeName(PowerAssertionType type) {
    switch (type) {
    case PowerAssertionType::noDisplaySleep:
        return "NoDisplaySleepAssertion";
    case PowerAssertionType::noIdleSleep:
        return "NoIdleSleepAssertion";
    }
    fatal();
}

std::optional<PowerAssertionId> SimulatedPower::create(PowerAssertionType type,
                                                       const std::string& name) {
    note("create ", typeName(type), " ", name);
    if (!(type == PowerAssertionType::noDisplaySleep ? grantsDisplay : grantsSystem)) {
        return std::nullopt;
    }
    held[++made_] = type;
    if (onChange) {
        onChange("create", type, made_);
    }
    return made_;
}

bool SimulatedPower::holds(PowerAssertionId id) const {
    return held.contains(id);
}

void SimulatedPower::release(PowerAssertionId id) {
    const auto found = held.find(id);
    if (found == held.end()) {
        note("release of what is not held");
        return;
    }
    const PowerAssertionType type = found->second;
    held.erase(found);
    note("release ", typeName(type));
    if (onChange) {
        onChange("release", type, id);
    }
}

} // namespace korvel::platform
