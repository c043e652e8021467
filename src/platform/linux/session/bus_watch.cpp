#include "platform/linux/session/bus_watch.h"

#include <utility>

namespace korvel::platform {

void watchOn(QDBusServiceWatcher& watcher, const QDBusConnection& bus) {
    // The library takes a connection of the same name for the same connection, and does nothing.
    watcher.setConnection(QDBusConnection(QString()));
    watcher.setConnection(bus);
}

void tellWhenLost(const QDBusConnection& bus, QObject& receiver, const char* slot) {
    // The library tells it as a signal of this object, which is not on the bus.
    QDBusConnection(bus).connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                 QStringLiteral("org.freedesktop.DBus.Local"),
                                 QStringLiteral("Disconnected"), &receiver, slot);
}

BusWatch::BusWatch(QDBusConnection::BusType bus, QString connection, const QStringList& services,
                   std::chrono::milliseconds pause)
    : bus_(bus), connection_(std::move(connection)) {
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    watcher_.setWatchedServices(services);
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& service, const QString& before, const QString& now) {
                if (!before.isEmpty()) {
                    Q_EMIT gone(service, before);
                }
                if (!now.isEmpty()) {
                    Q_EMIT appeared(service, now);
                }
            });
    retry_.setTimerType(Qt::VeryCoarseTimer);
    retry_.setInterval(pause);
    connect(&retry_, &QTimer::timeout, this, &BusWatch::look);
    connectToBus();
}

BusWatch::~BusWatch() {
    QDBusConnection::disconnectFromBus(connection_);
}

void BusWatch::setWanted(bool wanted) {
    wanted_ = wanted;
    if (!wanted || connected_) {
        retry_.stop();
    } else if (!retry_.isActive()) {
        retry_.start();
    }
}

bool BusWatch::connectToBus() {
    const QDBusConnection bus = QDBusConnection::connectToBus(bus_, connection_);
    connected_ = bus.isConnected();
    if (!connected_) {
        QDBusConnection::disconnectFromBus(connection_);
        return false;
    }
    watchOn(watcher_, bus);
    tellWhenLost(bus, *this, SLOT(disconnected()));
    return true;
}

void BusWatch::disconnected() {
    connected_ = false;
    QDBusConnection::disconnectFromBus(connection_);
    Q_EMIT lost();
    setWanted(wanted_);
}

void BusWatch::look() {
    if (connectToBus()) {
        retry_.stop();
        Q_EMIT returned();
    }
}

} // namespace korvel::platform
