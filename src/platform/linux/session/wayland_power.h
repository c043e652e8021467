#pragma once

#include "platform/linux/session/power_grantor.h"

namespace korvel::platform {

/// The idle inhibitor of a Wayland compositor (zwp_idle_inhibit_manager_v1), on a surface that is
/// never shown and a connection of its own. Not every compositor counts such a surface; where one
/// tells of idleness (ext_idle_notifier_v1), it is asked to tell of the next moment of it, and has
/// granted nothing when it does. The hold ends by itself when the compositor goes.
std::unique_ptr<PowerGrantor> waylandPowerGrantor();

} // namespace korvel::platform
