#include "platform/linux/session/desktop_notifications.h"

#include <chrono>
#include <optional>
#include <utility>

#include <QDBusMessage>
#include <QDBusReply>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/session_bus.h"
#include "platform/status_bar.h"

namespace korvel::platform {

namespace {

const QString kNotifications = QStringLiteral("org.freedesktop.Notifications");
const QString kNotificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kDefaultAction = QStringLiteral("default"); ///< the action of a click on the whole

/// A service that is not running is started: most desktops wait with that for the first
/// notification.
BusObject notificationService(const QDBusConnection& bus) {
    return {bus, kNotifications, kNotificationsPath, kNotifications, Activation::allowed};
}

/// The bus itself.
BusObject theBus(const QDBusConnection& bus, const char* interface) {
    return {bus, QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QLatin1String(interface)};
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

DesktopNotifications::DesktopNotifications(Words words)
    : DesktopNotifications(std::move(words), SessionBus::ofProgram().connection()) {
    connect(&SessionBus::ofProgram(), &SessionBus::returned, this, &DesktopNotifications::useBus);
}

DesktopNotifications::DesktopNotifications(Words words, const QDBusConnection& bus)
    : bus_(bus), words_(std::move(words)) {}

void DesktopNotifications::useBus(const QDBusConnection& bus) {
    bus_ = bus;
    listening_ = false;
    forget();
}

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
    listen();
    // Asked each time: another service may have taken over.
    notificationService(bus_).ask("GetCapabilities", {}, *this,
                                  [this, notification](const QDBusMessage& answer) {
                                      const QDBusReply<QStringList> capabilities(answer);
                                      if (capabilities.isValid()) {
                                          findService(notification, capabilities.value());
                                      }
                                  });
}

void DesktopNotifications::findService(const Notification& notification,
                                       const QStringList& capabilities) {
    // By now one runs. An answer does not tell who gave it.
    theBus(bus_, "org.freedesktop.DBus")
        .ask("GetNameOwner", {kNotifications}, *this,
             [this, notification, capabilities](const QDBusMessage& answer) {
                 const QDBusReply<QString> owner(answer);
                 if (owner.isValid()) {
                     notify(notification, capabilities, owner.value());
                 }
             });
}

void DesktopNotifications::notify(const Notification& notification, const QStringList& capabilities,
                                  const QString& service) {
    if (service_ != service) {
        forget();
    }
    service_ = service;
    const bool markup = capabilities.contains(QStringLiteral("body-markup"));
    const QStringList actions = capabilities.contains(QStringLiteral("actions"))
                                    ? QStringList{kDefaultAction, QStringLiteral("Show")}
                                    : QStringList();
    const QString icon = QString::fromLatin1(kBundleIdentifier);
    const QVariantMap hints{{QStringLiteral("desktop-entry"), icon}};
    constexpr int kServicesOwnTimeout = -1;
    BusObject(bus_, service, kNotificationsPath, kNotifications)
        .ask("Notify",
             {QStringLiteral("Korvel"), number_, icon,
              QString::fromStdString(printable(words_(notification.title))),
              QString::fromStdString(body(words_(notification.body), markup)), actions, hints,
              kServicesOwnTimeout},
             *this, [this, service](const QDBusMessage& answer) {
                 const QDBusReply<std::uint32_t> number(answer);
                 if (number.isValid() && service_ == service) {
                     number_ = number.value();
                     token_.clear();
                 }
             });
}

void DesktopNotifications::setAction(Action action) {
    action_ = std::move(action);
}

void DesktopNotifications::withdraw() {
    if (number_ == 0 || !bus_.isConnected()) {
        return;
    }
    const BusObject shower(bus_, service_, kNotificationsPath, kNotifications);
    shower.tell("CloseNotification", {number_});
    forget();
    // The library sends from a thread of its own, in order; the bus, not the service, is waited
    // for.
    constexpr std::chrono::milliseconds kPatience(100);
    theBus(bus_, "org.freedesktop.DBus.Peer").call("Ping", {}, kPatience);
}

/// Not before something was posted: the service tells everybody of each notification there is.
void DesktopNotifications::listen() {
    if (std::exchange(listening_, bus_.isConnected()) || !listening_) {
        return;
    }
    for (const char* signal : {"ActionInvoked", "ActivationToken", "NotificationClosed"}) {
        // Of nobody in particular: with the service's name the library would wait for its owner.
        bus_.connect(QString(), kNotificationsPath, kNotifications, QLatin1String(signal), this,
                     SLOT(told(QDBusMessage)));
    }
}

void DesktopNotifications::told(const QDBusMessage& signal) {
    if (!isOfTheShown(signal)) {
        return;
    }
    if (signal.member() == QLatin1String("NotificationClosed")) {
        forget();
        return;
    }
    const QVariant argument = signal.arguments().value(1);
    if (argument.userType() != QMetaType::QString) {
        return;
    }
    const QString text = argument.toString();
    if (signal.member() == QLatin1String("ActivationToken")) {
        token_ = text.toStdString();
    } else if (text == kDefaultAction && action_) {
        action_({.place = std::nullopt, .token = std::exchange(token_, {})});
    }
}

bool DesktopNotifications::isOfTheShown(const QDBusMessage& signal) const {
    const QVariant number = signal.arguments().value(0);
    return number_ != 0 && signal.service() == service_ && number.userType() == QMetaType::UInt &&
           number.toUInt() == number_;
}

void DesktopNotifications::forget() {
    number_ = 0;
    token_.clear();
}

} // namespace korvel::platform
