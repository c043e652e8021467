#include "platform/linux/session/session_bus.h"

#include <QStringList>

#include "platform/linux/session/user_bus.h"

namespace korvel::platform {

namespace {

QString connectionName() {
    return QStringLiteral("korvel session");
}

} // namespace

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

SessionBus::SessionBus(const QDBusConnection& first, std::chrono::milliseconds pause)
    : first_(first), pause_(pause) {
    if (first.isConnected()) {
        tellWhenLost(first, *this, SLOT(firstLost()));
    }
}

SessionBus& SessionBus::ofProgram() {
    static SessionBus bus;
    return bus;
}

QDBusConnection SessionBus::connection() const {
    return watch_ ? QDBusConnection(connectionName()) : first_;
}

void SessionBus::firstLost() {
    Q_EMIT lost();
    watch_ = std::make_unique<BusWatch>(QDBusConnection::SessionBus, connectionName(),
                                        QStringList(), pause_);
    connect(watch_.get(), &BusWatch::lost, this, &SessionBus::lost);
    connect(watch_.get(), &BusWatch::returned, this, [this] { Q_EMIT returned(connection()); });
    watch_->setWanted(true);
    if (connection().isConnected()) {
        Q_EMIT returned(connection());
    }
}

} // namespace korvel::platform
