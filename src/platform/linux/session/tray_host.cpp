#include "platform/linux/session/tray_host.h"

#include <utility>

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/bus_watch.h"

namespace korvel::platform {

TrayHost::TrayHost(const QDBusConnection& bus, Calls calls, std::chrono::milliseconds grace)
    : calls_(std::move(calls)), bus_(bus),
      watcher_(watcherService(), bus, QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                ownerKnown_ = true;
                ownerChanged(owner);
            });
    grace_.setSingleShot(true);
    grace_.setInterval(grace);
    connect(&grace_, &QTimer::timeout, this, &TrayHost::graceOver);
    lookForWatcher();
    QMetaObject::invokeMethod(this, &TrayHost::lookAgain, Qt::QueuedConnection);
}

void TrayHost::lookForWatcher() {
    // Not by the watcher's name: the library would ask the bus for its owner and wait.
    bus_.connect(QString(), watcherPath(), watcherService(),
                 QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(hostRegistered()));
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    BusObject(bus_, daemon, QStringLiteral("/org/freedesktop/DBus"), daemon)
        .ask("GetNameOwner", {watcherService()}, *this, [this](const QDBusMessage& answer) {
            if (!ownerKnown_) {
                ownerKnown_ = true;
                ownerChanged(QDBusReply<QString>(answer).value()); // empty: nobody
            }
        });
}

void TrayHost::busLost() {
    ownerKnown_ = true;
    ownerChanged(QString());
}

void TrayHost::useBus(const QDBusConnection& bus) {
    bus_ = bus;
    ownerKnown_ = false;
    watchOn(watcher_, bus);
    lookForWatcher();
}

void TrayHost::lookAgain() {
    if (!host_ && kind_ != TrayKind::xembed && !grace_.isActive() && calls_.xembedTray()) {
        grace_.start();
    }
}

void TrayHost::pictureFetched() {
    if (!owner_.isEmpty() && kind_ != TrayKind::xembed) {
        hostFound();
    }
}

void TrayHost::registrationFailed() {
    registered_ = false;
}

QString TrayHost::watcherService() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString TrayHost::watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

void TrayHost::hostRegistered() {
    if (message().service() != owner_) {
        return;
    }
    hostFound();
    if (!registered_) {
        registerItem();
    }
}

void TrayHost::ownerChanged(const QString& owner) {
    owner_ = owner;
    host_ = noHost_ = registered_ = false;
    if (owner.isEmpty()) {
        lookAgain();
        return;
    }
    if (kind_ != TrayKind::xembed) {
        registerItem();
    }
    askForHost();
}

void TrayHost::registerItem() {
    registered_ = true; // unless it is said to have failed
    calls_.registerItem();
}

void TrayHost::askForHost() {
    const BusObject watcher(bus_, watcherService(), watcherPath(), watcherService());
    watcher.askProperty("IsStatusNotifierHostRegistered", *this,
                        [this, asked = owner_](const QDBusMessage& answer) {
                            const QDBusReply<QVariant> registered(answer);
                            if (asked != owner_ ||
                                registered.error().type() == QDBusError::NoReply) {
                                return;
                            }
                            if (registered.isValid() && registered.value().toBool()) {
                                hostFound();
                            } else {
                                noHost_ = !host_;
                                lookAgain();
                            }
                        });
}

void TrayHost::hostFound() {
    host_ = true;
    noHost_ = false;
    grace_.stop();
    const bool takenBack = kind_ == TrayKind::xembed;
    setKind(TrayKind::notifier);
    if (takenBack) {
        registerItem();
    }
}

void TrayHost::graceOver() {
    // To make its icon, Qt asks the watcher for a host once more and waits. One that has not
    // answered the question by now might hold up the program.
    const bool watcherAnswers = ownerKnown_ && (owner_.isEmpty() || noHost_);
    if (!host_ && watcherAnswers && calls_.xembedTray()) {
        setKind(TrayKind::xembed);
    }
}

void TrayHost::setKind(TrayKind kind) {
    if (kind != kind_) {
        kind_ = kind;
        registered_ = registered_ && kind == TrayKind::notifier;
        calls_.changed(kind);
    }
}

} // namespace korvel::platform
