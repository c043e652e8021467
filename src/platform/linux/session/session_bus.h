#pragma once

#include <QDBusConnection>
#include <QString>

namespace korvel::platform {

/// Where the session bus is by the environment, or else at its usual place; empty: nowhere.
QString sessionBusAddress();

/// Whether the environment names a session bus, or one stands at its usual place. The D-Bus library
/// would start a bus of its own where there is none.
bool sessionBusIsThere();

/// The session bus where it is there, else a connection that is not connected.
QDBusConnection sessionBusIfThere();

} // namespace korvel::platform
