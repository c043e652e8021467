#include "ui/quick/colour_scheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace korvel {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

/// The value within a D-Bus variant, which the portal's older method wraps twice.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

ColourScheme::ColourScheme(const QDBusConnection& bus, QObject* parent)
    : QObject(parent), bus_(bus),
      watcher_(kService, bus, QDBusServiceWatcher::WatchForRegistration) {
    if (bus_.isConnected()) {
        // Qt looks the type up by its name in the slot's signature, or makes no connection.
        qRegisterMetaType<QDBusVariant>();
        connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &ColourScheme::ask);
        bus_.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                     SLOT(settingChanged(QString, QString, QDBusVariant)));
        ask();
    }
    qApp->installEventFilter(this);
    update();
}

void ColourScheme::ask() {
    QDBusMessage read =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    read << kGroup << kKey;
    read.setAutoStartService(false);
    auto* call =
        new QDBusPendingCallWatcher(bus_.asyncCall(read), this); // deleted once it is answered
    connect(call, &QDBusPendingCallWatcher::finished, this, &ColourScheme::answered);
}

bool ColourScheme::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void ColourScheme::settingChanged(const QString& group, const QString& key,
                                  const QDBusVariant& value) {
    if (group == kGroup && key == kKey) {
        prefer(value.variant());
    }
}

void ColourScheme::answered(QDBusPendingCallWatcher* call) {
    call->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *call;
    if (!reply.isError()) {
        prefer(reply.value().variant());
    }
}

void ColourScheme::prefer(const QVariant& portalValue) {
    constexpr uint kDark = 1;
    constexpr uint kLight = 2;
    const uint value = unwrapped(portalValue).toUInt();
    preference_.reset();
    if (value == kDark || value == kLight) {
        preference_ = value == kDark;
    }
    update();
}

void ColourScheme::update() {
    constexpr int kMiddle = 128;
    const bool dark = preference_.value_or(
        QGuiApplication::palette().color(QPalette::Window).lightness() < kMiddle);
    if (dark_ != dark) {
        dark_ = dark;
        Q_EMIT darkChanged();
    }
}

} // namespace korvel
