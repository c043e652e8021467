#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace korvel::platform {

/// Which of the buses at these addresses take a connection and then say nothing, for as long as
/// `patience`, or say what no bus says; all are tried at once. The D-Bus library waits 25 seconds
/// or more for such a one, each time, and whoever calls it waits too. One that refuses, or is not
/// there, is not silent: the library finds that out at once. `addresses` are written as in
/// DBUS_SESSION_BUS_ADDRESS; one that names no socket of this machine is not tried.
std::vector<bool> silentBuses(const std::vector<std::string>& addresses,
                              std::chrono::milliseconds patience);

} // namespace korvel::platform
