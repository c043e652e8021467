#pragma once

#include <optional>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace korvel::platform {

/// Settings of a desktop, by group and key, as its portal hands them out.
using SettingGroups = QMap<QString, QVariantMap>;

/// What they say about how programs should look.
struct AppearanceSettings {
    std::optional<bool> dark; ///< nullopt: no preference
    double textScale = 1;     ///< how many times its usual size text should have; 1 to 3
    double fontScale = 1;     ///< the same, told by the size of the desktop's font
    bool contrast = false;
    bool reducedMotion = false;

    bool operator==(const AppearanceSettings&) const = default;
};

/// The groups that are looked at.
const QStringList& appearanceGroups();

/// Each desktop has its own group, and some have those of others with the values that these would
/// start with: so one that asks for something outdoes those that do not. A value of a kind that
/// was not expected asks for nothing.
AppearanceSettings appearanceSettings(const SettingGroups& groups);

/// The same of the settings on the X server, which say nothing of dark and light.
AppearanceSettings x11AppearanceSettings(const QVariantMap& settings);

} // namespace korvel::platform
