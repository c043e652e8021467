#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariant>

namespace korvel {

/// A StatusNotifier watcher, as good or as bad as a test wants it.
class FakeWatcher : public QDBusVirtualObject {
  public:
    enum class Answer { yes, no, error, none };

    Answer host = Answer::yes;         ///< to the question whether a host is registered
    Answer registration = Answer::yes; ///< to one that registers an item; "no" is not used
    QStringList registered;            ///< the items, as often as they came
    int questions = 0;                 ///< for a host

    /// Takes the watcher's name on this connection, from whoever has it.
    bool appear(QDBusConnection bus) {
        bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        const QDBusMessage request = [] {
            const QString daemon = QStringLiteral("org.freedesktop.DBus");
            constexpr uint kAllowReplacement = 1;
            constexpr uint kReplaceExisting = 2;
            QDBusMessage call =
                QDBusMessage::createMethodCall(daemon, QStringLiteral("/org/freedesktop/DBus"),
                                               daemon, QStringLiteral("RequestName"));
            call << kName << (kAllowReplacement | kReplaceExisting);
            return call;
        }();
        constexpr uint kPrimaryOwner = 1;
        return bus.call(request).arguments().value(0).toUInt() == kPrimaryOwner;
    }

    /// Gives the name back.
    static void disappear(QDBusConnection bus) { bus.unregisterService(kName); }

    static void tellOfHost(const QDBusConnection& bus) {
        bus.send(QDBusMessage::createSignal(QStringLiteral("/StatusNotifierWatcher"), kName,
                                            QStringLiteral("StatusNotifierHostRegistered")));
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() == QLatin1String("Get")) {
            ++questions;
            answer(message, bus, host,
                   message.createReply(QVariant::fromValue(QDBusVariant(host == Answer::yes))));
        } else {
            registered += message.arguments().value(0).toString();
            answer(message, bus, registration, message.createReply());
        }
        return true;
    }

  private:
    inline static const QString kName = QStringLiteral("org.kde.StatusNotifierWatcher");

    static void answer(const QDBusMessage& message, const QDBusConnection& bus, Answer how,
                       const QDBusMessage& reply) {
        if (how == Answer::error) {
            bus.send(message.createErrorReply(QDBusError::Failed, QStringLiteral("out of order")));
        } else if (how != Answer::none) {
            bus.send(reply);
        }
    }
};

} // namespace korvel
