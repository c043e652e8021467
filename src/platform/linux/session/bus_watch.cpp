#include "platform/linux/session/bus_watch.h"

#include <utility>

namespace korvel::platform {

namespace {

constexpr int kRetryInterval = 10000; // milliseconds

} // namespace

BusWatch::BusWatch(QDBusConnection::BusType bus, QString connection, const QStringList& services)
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
    retry_.setInterval(kRetryInterval);
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
    QDBusConnection bus = QDBusConnection::connectToBus(bus_, connection_);
    connected_ = bus.isConnected();
    if (!connected_) {
        QDBusConnection::disconnectFromBus(connection_);
        return false;
    }
    watcher_.setConnection(bus);
    // The library tells the end of a connection as a signal of this object, which is not on the
    // bus.
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(disconnected()));
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
