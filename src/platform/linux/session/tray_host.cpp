#include "platform/linux/session/tray_host.h"

#include <chrono>
#include <utility>

#include <QDBusConnection>
#include <QDBusReply>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

// A panel that offers both kinds of tray takes the XEmbed selection first. This is how long it has
// to register as a StatusNotifier host.
constexpr auto kGrace = std::chrono::seconds(2);

QString watcherService() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

} // namespace

TrayHost::TrayHost(std::function<void()> found)
    : found_(std::move(found)), watcher_(watcherService(), QDBusConnection::sessionBus(),
                                         QDBusServiceWatcher::WatchForRegistration) {
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::askForHost);
    // The watcher may be on the bus before any panel has registered as a host.
    QDBusConnection::sessionBus().connect(watcherService(), watcherPath(), watcherService(),
                                          QStringLiteral("StatusNotifierHostRegistered"), this,
                                          SLOT(hostRegistered()));
    grace_.setSingleShot(true);
    connect(&grace_, &QTimer::timeout, this, [this] {
        if (xembedTray()) {
            foundOnce();
        }
    });
    askForHost();
    lookAgain();
}

void TrayHost::lookAgain() {
    if (found_ && !grace_.isActive() && xembedTray()) {
        grace_.start(kGrace);
    }
}

void TrayHost::hostRegistered() {
    foundOnce();
}

void TrayHost::askForHost() {
    const BusObject watcher(QDBusConnection::sessionBus(), watcherService(), watcherPath(),
                            watcherService());
    watcher.askProperty("IsStatusNotifierHostRegistered", *this,
                        [this](const QDBusMessage& answer) {
                            const QDBusReply<QVariant> registered(answer);
                            if (registered.isValid() && registered.value().toBool()) {
                                foundOnce();
                            }
                        });
}

void TrayHost::foundOnce() {
    grace_.stop();
    if (const auto found = std::exchange(found_, nullptr)) {
        found();
    }
}

bool TrayHost::xembedTray() const {
    // Of the first screen alone: Qt shows no icon on the other screens of a server.
    return x11SelectionIsHeld("_NET_SYSTEM_TRAY_S0");
}

} // namespace korvel::platform
