#pragma once

#include <functional>
#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include "platform/appearance.h"
#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

/// What the desktop portal says of the colour scheme, followed while the program runs. The portal
/// is asked in the background, when it is there or as soon as it is, and is never started.
class PortalAppearance final : public QObject, public Appearance {
    Q_OBJECT

  public:
    explicit PortalAppearance(const QDBusConnection& bus = QDBusConnection::sessionBus());

    std::optional<bool> prefersDark() const override { return dark_; }
    void follow(std::function<void()> changed) override;

  private:
    Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
    void ask();
    void take(QVariant value);

    BusObject settings_;
    QDBusServiceWatcher watcher_;
    std::optional<bool> dark_;
    std::function<void()> changed_;
};

} // namespace korvel::platform
