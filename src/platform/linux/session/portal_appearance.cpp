#include "platform/linux/session/portal_appearance.h"

#include <algorithm>
#include <utility>

#include <QDBusArgument>
#include <QDBusMetaType>

#include "platform/linux/session/bus_watch.h"
#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");

} // namespace

PortalAppearance::PortalAppearance(std::function<double()> displayScale)
    : PortalAppearance(SessionBus::ofProgram().connection(), std::move(displayScale)) {
    connect(&SessionBus::ofProgram(), &SessionBus::returned, this, &PortalAppearance::useBus);
}

PortalAppearance::PortalAppearance(const QDBusConnection& bus, std::function<double()> displayScale)
    : portal_(bus, kService, kPath, kInterface), displayScale_(std::move(displayScale)) {
    // Qt looks the type up by its name in the slot's signature, or makes no connection.
    qRegisterMetaType<QDBusVariant>();
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    watcher_.addWatchedService(kService);
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &PortalAppearance::ask);
    if (bus.isConnected()) {
        useBus(bus);
    }
}

void PortalAppearance::useBus(const QDBusConnection& bus) {
    portal_ = BusObject(bus, kService, kPath, kInterface);
    watchOn(watcher_, bus);
    QDBusConnection(bus).connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"),
                                 this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

double PortalAppearance::textScale() const {
    // Who puts it into the scale of the display makes that at least as large. No desktop puts the
    // size of its font there.
    const bool given = displayScale_ && displayScale_() >= settings_.textScale;
    return std::max(given ? 1 : settings_.textScale, settings_.fontScale);
}

void PortalAppearance::follow(std::function<void()> changed) {
    changed_ = std::move(changed);
}

void PortalAppearance::ask() {
    portal_.ask("ReadAll", {appearanceGroups()}, *this, [this](const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == u"a{sa{sv}}") {
            groups_ = qdbus_cast<SettingGroups>(answer.arguments().constFirst());
            judge();
        }
    });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key,
                                      const QDBusVariant& value) {
    if (appearanceGroups().contains(group)) {
        groups_[group][key] = value.variant();
        judge();
    }
}

void PortalAppearance::judge() {
    const AppearanceSettings settings = appearanceSettings(groups_);
    if (std::exchange(settings_, settings) != settings && changed_) {
        changed_();
    }
}

} // namespace korvel::platform
