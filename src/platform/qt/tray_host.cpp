#include "platform/qt/tray_host.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>

#include <xcb/xcb.h>

namespace korvel::platform {

namespace {

// A panel that speaks both takes its XEmbed selection first; it gets this long to say the rest.
constexpr auto kGrace = std::chrono::seconds(2);

QString watcherService() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

} // namespace

TrayHost::TrayHost(std::function<void()> found)
    : found_(std::move(found)), watcher_(watcherService(), QDBusConnection::sessionBus(),
                                         QDBusServiceWatcher::WatchForRegistration) {
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::askForHost);
    // The watcher's name may be taken before any panel that draws is behind it.
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
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherService(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    question.setArguments({watcherService(), QStringLiteral("IsStatusNotifierHostRegistered")});
    question.setAutoStartService(false);
    auto* reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question),
                                              this); // deletes itself below
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        const QDBusPendingReply<QDBusVariant> answer = *reply;
        if (!answer.isError() && answer.value().variant().toBool()) {
            foundOnce();
        }
        reply->deleteLater();
    });
}

void TrayHost::foundOnce() {
    grace_.stop();
    if (const auto found = std::exchange(found_, nullptr)) {
        found();
    }
}

bool TrayHost::xembedTray() const {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection) {
        return false;
    }
    // The tray of the first screen: a server with several of them is one Qt cannot show there.
    const std::string name = "_NET_SYSTEM_TRAY_S0";
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> atom(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE) {
        return false;
    }
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom),
                                      nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace korvel::platform
