#include "platform/linux/session/desktop_notifications.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace korvel::platform {

namespace {

QDBusMessage call(const char* method) {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                          QStringLiteral("/org/freedesktop/Notifications"),
                                          QStringLiteral("org.freedesktop.Notifications"),
                                          QLatin1String(method));
}

/// Without what a bus message or a line of text cannot hold.
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
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    const std::string title = printable(words_(notification.title));
    const std::string text = words_(notification.body);
    // Asked each time: another service may have taken over.
    auto* asked = new QDBusPendingCallWatcher(bus.asyncCall(call("GetCapabilities")), &replies_);
    QObject::connect(asked, &QDBusPendingCallWatcher::finished, asked,
                     [bus, title, text](QDBusPendingCallWatcher* watcher) mutable {
                         watcher->deleteLater();
                         const QDBusPendingReply<QStringList> capabilities = *watcher;
                         if (capabilities.isError()) {
                             return;
                         }
                         const bool markup =
                             capabilities.value().contains(QStringLiteral("body-markup"));
                         constexpr int kServicesOwnTimeout = -1;
                         QDBusMessage notify = call("Notify");
                         notify << QStringLiteral("Korvel") << 0U
                                << QStringLiteral("com.oxbrook.korvel")
                                << QString::fromStdString(title)
                                << QString::fromStdString(body(text, markup)) << QStringList()
                                << QVariantMap{{QStringLiteral("desktop-entry"),
                                                QStringLiteral("com.oxbrook.korvel")}}
                                << kServicesOwnTimeout;
                         bus.asyncCall(notify);
                     });
}

} // namespace korvel::platform
