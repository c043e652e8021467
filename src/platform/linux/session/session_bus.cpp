#include "platform/linux/session/session_bus.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

namespace korvel::platform {

QString sessionBusAddress() {
    QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString socket = runtime + QStringLiteral("/bus");
    if (!address.isEmpty() || runtime.isEmpty() || !QFileInfo::exists(socket)) {
        return address;
    }
    return QStringLiteral("unix:path=") +
           QString::fromLatin1(QFile::encodeName(socket).toPercentEncoding("/"));
}

bool sessionBusIsThere() {
    return !sessionBusAddress().isEmpty();
}

QDBusConnection sessionBusIfThere() {
    return sessionBusIsThere() ? QDBusConnection::sessionBus()
                               : QDBusConnection(QStringLiteral("korvel-no-bus"));
}

} // namespace korvel::platform
