#include "platform/qt/appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace korvel::platform {

namespace {

QString service() {
    return QStringLiteral("org.freedesktop.portal.Desktop");
}

QString path() {
    return QStringLiteral("/org/freedesktop/portal/desktop");
}

QString interface() {
    return QStringLiteral("org.freedesktop.portal.Settings");
}

QString group() {
    return QStringLiteral("org.freedesktop.appearance");
}

QString key() {
    return QStringLiteral("color-scheme");
}

} // namespace

Appearance::Appearance()
    : watcher_(service(), QDBusConnection::sessionBus(),
               QDBusServiceWatcher::WatchForRegistration) {
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &Appearance::ask);
    QDBusConnection::sessionBus().connect(
        service(), path(), interface(), QStringLiteral("SettingChanged"), {group(), key()},
        QString(), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

void Appearance::ask() {
    QDBusMessage question =
        QDBusMessage::createMethodCall(service(), path(), interface(), QStringLiteral("Read"));
    question.setArguments({group(), key()});
    question.setAutoStartService(false);
    auto* reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question),
                                              this); // deletes itself below
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        const QDBusPendingReply<QDBusVariant> answer = *reply;
        if (!answer.isError()) {
            take(answer.value().variant());
        }
        reply->deleteLater();
    });
}

void Appearance::settingChanged(const QString& changedGroup, const QString& changedKey,
                                const QDBusVariant& value) {
    if (changedGroup == group() && changedKey == key()) {
        take(value.variant());
    }
}

void Appearance::take(const QVariant& colorScheme) {
    // Read hands the value over in one more variant than SettingChanged does.
    const QVariant value = colorScheme.canConvert<QDBusVariant>()
                               ? colorScheme.value<QDBusVariant>().variant()
                               : colorScheme;
    switch (value.toUInt()) {
    case 1:
        dark_ = true;
        break;
    case 2:
        dark_ = false;
        break;
    default:
        dark_ = std::nullopt;
    }
}

} // namespace korvel::platform
