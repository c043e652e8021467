#include "platform/linux/session/appearance_settings.h"

#include <algorithm>

namespace korvel::platform {

namespace {

const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kInterface = QStringLiteral("org.gnome.desktop.interface");
const QString kAccess = QStringLiteral("org.gnome.desktop.a11y.interface");
const QString kKde = QStringLiteral("org.kde.kdeglobals.KDE");
const QString kKdeGeneral = QStringLiteral("org.kde.kdeglobals.General");

/// Smaller text than the popover's usual one would not be read, and larger than this not fit.
double withinReason(double scale) {
    constexpr double kLargest = 3;
    return scale > 1 ? std::min(scale, kLargest) : 1; // nor is NaN a scale
}

double scaleOfFont(const QString& points) {
    constexpr double kUsual = 10;
    constexpr double kLeastThatCounts = 1.2; // desktops begin with 9 to 11 points
    const double scale = points.toDouble() / kUsual;
    return scale >= kLeastThatCounts ? withinReason(scale) : 1;
}

bool isNamedForContrast(const QString& theme) {
    return theme.startsWith(QLatin1String("HighContrast")) ||
           theme.startsWith(QLatin1String("ContrastHigh"));
}

/// Whether it is a number at all, and 0.
bool isZero(const QString& number) {
    bool isNumber = false;
    return number.toDouble(&isNumber) == 0 && isNumber;
}

} // namespace

const QStringList& appearanceGroups() {
    static const QStringList groups{kAppearance, kInterface, kAccess, kKde, kKdeGeneral};
    return groups;
}

AppearanceSettings appearanceSettings(const SettingGroups& groups) {
    constexpr uint kDark = 1;
    constexpr uint kLight = 2;
    const auto value = [&groups](const QString& group, const char* key) {
        return groups.value(group).value(QLatin1String(key));
    };
    AppearanceSettings settings;
    const uint scheme = value(kAppearance, "color-scheme").toUInt();
    if (scheme == kDark || scheme == kLight) {
        settings.dark = scheme == kDark;
    }
    settings.textScale = withinReason(value(kInterface, "text-scaling-factor").toDouble());
    // Its family, and its size.
    settings.fontScale =
        scaleOfFont(value(kKdeGeneral, "font").toString().section(QLatin1Char(','), 1, 1));
    settings.contrast = value(kAppearance, "contrast").toUInt() == 1 ||
                        value(kAccess, "high-contrast").toBool() ||
                        isNamedForContrast(value(kInterface, "gtk-theme").toString());
    settings.reducedMotion = value(kAppearance, "reduced-motion").toUInt() == 1 ||
                             value(kInterface, "enable-animations") == QVariant(false) ||
                             isZero(value(kKde, "AnimationDurationFactor").toString());
    return settings;
}

AppearanceSettings x11AppearanceSettings(const QVariantMap& settings) {
    const auto value = [&settings](const char* name) {
        return settings.value(QLatin1String(name));
    };
    AppearanceSettings meaning;
    // Its family and style, and behind them its size.
    meaning.fontScale = scaleOfFont(value("Gtk/FontName").toString().section(QLatin1Char(' '), -1));
    meaning.contrast = isNamedForContrast(value("Net/ThemeName").toString());
    meaning.reducedMotion = value("Gtk/EnableAnimations") == QVariant(0);
    return meaning;
}

} // namespace korvel::platform
