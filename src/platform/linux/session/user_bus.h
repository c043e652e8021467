#pragma once

#include <string>

namespace korvel::platform {

/// Where the session bus is by the environment, or else at its usual place, written as in
/// DBUS_SESSION_BUS_ADDRESS; empty: nowhere.
std::string userBusAddress();

} // namespace korvel::platform
