#pragma once

#include <functional>
#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include "platform/appearance.h"
#include "platform/linux/session/appearance_settings.h"
#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

/// What the desktop portal says of how programs should look, followed while the program runs. The
/// portal is asked in the background, once for all of it, when it is there or as soon as it is, and
/// is never started.
class PortalAppearance final : public QObject, public Appearance {
    Q_OBJECT

  public:
    /// On the program's session bus. `displayScale` tells by how much the display's scale enlarges
    /// text, where the desktop puts its size of text into that too; empty: it does not.
    explicit PortalAppearance(std::function<double()> displayScale = {});
    explicit PortalAppearance(const QDBusConnection& bus,
                              std::function<double()> displayScale = {});

    /// The bus is there again, on this connection. What was known holds until the portal says more.
    void useBus(const QDBusConnection& bus);

    std::optional<bool> prefersDark() const override { return settings_.dark; }
    double textScale() const override;
    bool prefersContrast() const override { return settings_.contrast; }
    bool reducesMotion() const override { return settings_.reducedMotion; }
    void follow(std::function<void()> changed) override;

  private:
    Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
    void ask();
    void judge();

    BusObject portal_;
    QDBusServiceWatcher watcher_;
    std::function<double()> displayScale_;
    SettingGroups groups_;
    AppearanceSettings settings_; ///< what the groups say
    std::function<void()> changed_;
};

} // namespace korvel::platform
