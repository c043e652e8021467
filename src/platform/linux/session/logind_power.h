#pragma once

#include "platform/linux/session/power_grantor.h"

namespace korvel::platform {

/// The "idle" inhibitor of logind, which keeps the machine awake and leaves the lid and the user's
/// own suspend alone. Logind is asked afterwards whether it lists it.
std::unique_ptr<PowerGrantor> logindPowerGrantor();

} // namespace korvel::platform
