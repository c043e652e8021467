#include "platform/linux/session/portal_appearance.h"

#include <utility>

#include <QDBusReply>

namespace korvel::platform {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

} // namespace

PortalAppearance::PortalAppearance(const QDBusConnection& bus)
    : settings_(bus, kService, kPath, kInterface),
      watcher_(kService, bus, QDBusServiceWatcher::WatchForRegistration) {
    if (!bus.isConnected()) {
        return;
    }
    // Qt looks the type up by its name in the slot's signature, or makes no connection.
    qRegisterMetaType<QDBusVariant>();
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &PortalAppearance::ask);
    QDBusConnection(bus).connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"),
                                 this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

void PortalAppearance::follow(std::function<void()> changed) {
    changed_ = std::move(changed);
}

void PortalAppearance::ask() {
    settings_.ask("Read", {kGroup, kKey}, *this, [this](const QDBusMessage& answer) {
        const QDBusReply<QVariant> value(answer);
        if (value.isValid()) {
            take(value.value());
        }
    });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key,
                                      const QDBusVariant& value) {
    if (group == kGroup && key == kKey) {
        take(value.variant());
    }
}

void PortalAppearance::take(QVariant value) {
    constexpr uint kDark = 1;
    constexpr uint kLight = 2;
    // The portal's older method wraps its answer in a second variant.
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    const uint scheme = value.toUInt();
    std::optional<bool> dark;
    if (scheme == kDark || scheme == kLight) {
        dark = scheme == kDark;
    }
    if (std::exchange(dark_, dark) != dark && changed_) {
        changed_();
    }
}

} // namespace korvel::platform
