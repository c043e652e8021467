#include "platform/linux/session/session_bus.h"

#include <QFileInfo>

namespace korvel::platform {

bool sessionBusIsThere() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return true;
    }
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus"));
}

QDBusConnection sessionBusIfThere() {
    return sessionBusIsThere() ? QDBusConnection::sessionBus()
                               : QDBusConnection(QStringLiteral("korvel-no-bus"));
}

} // namespace korvel::platform
