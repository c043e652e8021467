#include "platform/linux/session/own_bus_connection.h"

namespace korvel::platform {

namespace {

QString freshName() {
    static int made = 0;
    return QStringLiteral("korvel own ") + QString::number(++made);
}

} // namespace

OwnBusConnection::OwnBusConnection(QDBusConnection::BusType bus) : name_(freshName()) {
    QDBusConnection::connectToBus(bus, name_);
}

OwnBusConnection::~OwnBusConnection() {
    QDBusConnection::disconnectFromBus(name_);
}

} // namespace korvel::platform
