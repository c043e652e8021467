#include "platform/linux/session/bus_object.h"

#include <utility>

#include <QDBusError>
#include <QDBusPendingCallWatcher>

namespace korvel::platform {

BusObject::BusObject(const QDBusConnection& bus, QString service, QString path, QString interface,
                     Activation activation)
    : bus_(bus), service_(std::move(service)), path_(std::move(path)),
      interface_(std::move(interface)), activation_(activation) {}

QDBusMessage BusObject::call(const char* method, const QVariantList& arguments,
                             std::chrono::milliseconds patience) const {
    return bus_.call(message(method, arguments), QDBus::Block, static_cast<int>(patience.count()));
}

QDBusMessage BusObject::callProperty(const char* property,
                                     std::chrono::milliseconds patience) const {
    return properties().call("Get", {interface_, QString::fromLatin1(property)}, patience);
}

void BusObject::ask(const char* method, const QVariantList& arguments, QObject& context,
                    Answered answered) const {
    // Without a bus the library would make a call that never ends.
    const QDBusPendingCall call =
        bus_.isConnected()
            ? bus_.asyncCall(message(method, arguments))
            : QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, QString()));
    auto* watcher = new QDBusPendingCallWatcher(call, &context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         answered(finished->reply());
                     });
}

void BusObject::askProperty(const char* property, QObject& context, Answered answered) const {
    properties().ask("Get", {interface_, QString::fromLatin1(property)}, context,
                     std::move(answered));
}

void BusObject::tell(const char* method, const QVariantList& arguments) const {
    bus_.asyncCall(message(method, arguments));
}

bool BusObject::nobodyThere(const QDBusMessage& answer) {
    // The first where no service may be started for the call, the second where none can be.
    const QString error = answer.errorName();
    return error == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ||
           error == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown");
}

BusObject BusObject::properties() const {
    return BusObject(bus_, service_, path_, QStringLiteral("org.freedesktop.DBus.Properties"),
                     activation_);
}

QDBusMessage BusObject::message(const char* method, const QVariantList& arguments) const {
    QDBusMessage call =
        QDBusMessage::createMethodCall(service_, path_, interface_, QLatin1String(method));
    call.setAutoStartService(activation_ == Activation::allowed);
    call.setArguments(arguments);
    return call;
}

} // namespace korvel::platform
