#include "platform/linux/session/session_bus.h"

#include "platform/linux/session/user_bus.h"

namespace korvel::platform {

QString sessionBusAddress() {
    return QString::fromStdString(userBusAddress());
}

bool sessionBusIsThere() {
    return !sessionBusAddress().isEmpty();
}

QDBusConnection sessionBusIfThere() {
    return sessionBusIsThere() ? QDBusConnection::sessionBus()
                               : QDBusConnection(QStringLiteral("korvel-no-bus"));
}

} // namespace korvel::platform
