#include "platform/linux/session/desktop_notifications.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusReply>
#include <QStringList>
#include <QVariantMap>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

namespace {

/// Of the session bus. A service that is not running is started: most desktops wait with that for
/// the first notification.
BusObject notificationService() {
    return {QDBusConnection::sessionBus(), QStringLiteral("org.freedesktop.Notifications"),
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), Activation::allowed};
}

/// One line, with spaces in the place of control characters.
std::string printable(std::string text) {
    for (char& c : text) {
        constexpr unsigned char kFirstPrintable = 0x20;
        constexpr unsigned char kDelete = 0x7f;
        const auto byte = static_cast<unsigned char>(c);
        if (byte < kFirstPrintable || byte == kDelete) {
            c = ' ';
        }
    }
    return text;
}

} // namespace

DesktopNotifications::DesktopNotifications(Words words) : words_(std::move(words)) {}

std::string DesktopNotifications::body(const std::string& text, bool markup) {
    std::string plain = printable(text);
    if (!markup) {
        return plain;
    }
    std::string escaped;
    for (const char c : plain) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

void DesktopNotifications::post(const Notification& notification) {
    const BusObject service = notificationService();
    const std::string title = printable(words_(notification.title));
    const std::string text = words_(notification.body);
    // Asked each time: another service may have taken over.
    service.ask(
        "GetCapabilities", {}, replies_, [service, title, text](const QDBusMessage& answer) {
            const QDBusReply<QStringList> capabilities(answer);
            if (!capabilities.isValid()) {
                return;
            }
            const bool markup = capabilities.value().contains(QStringLiteral("body-markup"));
            const QString icon = QString::fromLatin1(kBundleIdentifier);
            const QVariantMap hints{{QStringLiteral("desktop-entry"), icon}};
            constexpr unsigned kReplacesNone = 0;
            constexpr int kServicesOwnTimeout = -1;
            service.tell("Notify",
                         {QStringLiteral("Korvel"), kReplacesNone, icon,
                          QString::fromStdString(title), QString::fromStdString(body(text, markup)),
                          QStringList(), hints, kServicesOwnTimeout});
        });
}

} // namespace korvel::platform
