#include "platform/linux/session/appearance_settings.h"

#include <cmath>
#include <ostream>

#include <gtest/gtest.h>

namespace korvel::platform {

void PrintTo(const AppearanceSettings& settings, std::ostream* out) {
    *out << "dark " << (settings.dark ? static_cast<int>(*settings.dark) : -1) << ", text "
         << settings.textScale << ", font " << settings.fontScale << ", contrast "
         << settings.contrast << ", reduced motion " << settings.reducedMotion;
}

namespace {

struct Case {
    const char* group;
    const char* key;
    QVariant value;
    AppearanceSettings meaning;
};

constexpr const char* kCommon = "org.freedesktop.appearance";
constexpr const char* kGnome = "org.gnome.desktop.interface";
constexpr const char* kAccess = "org.gnome.desktop.a11y.interface";
constexpr const char* kKde = "org.kde.kdeglobals.KDE";
constexpr const char* kKdeGeneral = "org.kde.kdeglobals.General";

AppearanceSettings text(double scale) {
    return {.dark = {}, .textScale = scale};
}

AppearanceSettings font(double scale) {
    return {.dark = {}, .fontScale = scale};
}

const AppearanceSettings kNothing;
const AppearanceSettings kDark{.dark = true};
const AppearanceSettings kLight{.dark = false};
const AppearanceSettings kContrast{.dark = {}, .contrast = true};
const AppearanceSettings kStill{.dark = {}, .reducedMotion = true};

QString theme(const char* name) {
    return QString::fromLatin1(name);
}

const Case kCases[] = {
    {kCommon, "color-scheme", 0U, kNothing},
    {kCommon, "color-scheme", 1U, kDark},
    {kCommon, "color-scheme", 2U, kLight},
    {kCommon, "color-scheme", 3U, kNothing},
    {kCommon, "contrast", 0U, kNothing},
    {kCommon, "contrast", 1U, kContrast},
    {kCommon, "contrast", 2U, kNothing},
    {kCommon, "reduced-motion", 0U, kNothing},
    {kCommon, "reduced-motion", 1U, kStill},
    {kCommon, "reduced-motion", 2U, kNothing},
    {kGnome, "text-scaling-factor", 1.0, kNothing},
    {kGnome, "text-scaling-factor", 1.25, text(1.25)},
    {kGnome, "text-scaling-factor", 2.0, text(2)},
    {kGnome, "text-scaling-factor", 0.5, kNothing},
    {kGnome, "text-scaling-factor", 9.0, text(3)},
    {kGnome, "text-scaling-factor", -1.5, kNothing},
    {kGnome, "text-scaling-factor", std::nan(""), kNothing},
    {kGnome, "text-scaling-factor", theme("large"), kNothing},
    {kGnome, "enable-animations", true, kNothing},
    {kGnome, "enable-animations", false, kStill},
    {kGnome, "gtk-theme", theme("Adwaita"), kNothing},
    {kGnome, "gtk-theme", theme("HighContrast"), kContrast},
    {kGnome, "gtk-theme", theme("HighContrastInverse"), kContrast},
    {kGnome, "gtk-theme", theme("ContrastHighInverse"), kContrast},
    {kGnome, "gtk-theme", theme("NotHighContrast"), kNothing},
    {kGnome, "gtk-theme", theme("NotContrastHigh"), kNothing},
    {kAccess, "high-contrast", false, kNothing},
    {kAccess, "high-contrast", true, kContrast},
    {kKde, "AnimationDurationFactor", theme("0"), kStill},
    {kKde, "AnimationDurationFactor", theme("0.0"), kStill},
    {kKde, "AnimationDurationFactor", theme("0.5"), kNothing},
    {kKde, "AnimationDurationFactor", theme(""), kNothing},
    {kKde, "AnimationDurationFactor", theme("none"), kNothing},
    {kKdeGeneral, "font", theme("Noto Sans,10,-1,5,50,0,0,0,0,0"), kNothing},
    {kKdeGeneral, "font", theme("Noto Sans,11,-1,5,50,0,0,0,0,0"), kNothing},
    {kKdeGeneral, "font", theme("Noto Sans,12,-1,5,50,0,0,0,0,0"), font(1.2)},
    {kKdeGeneral, "font", theme("Noto Sans,15,-1,5,50,0,0,0,0,0"), font(1.5)},
    {kKdeGeneral, "font", theme("Noto Sans,60,-1,5,50,0,0,0,0,0"), font(3)},
    {kKdeGeneral, "font", theme("Noto Sans,-1,20,5,50,0,0,0,0,0"), kNothing},
    {kKdeGeneral, "font", theme("Noto Sans"), kNothing},
    {kGnome, "contrast", 1U, kNothing},
    {kCommon, "text-scaling-factor", 2.0, kNothing},
};

TEST(AppearanceSettings, EachKeyHasItsMeaning) {
    for (const Case& c : kCases) {
        const SettingGroups groups{
            {QString::fromLatin1(c.group), {{QString::fromLatin1(c.key), c.value}}}};
        EXPECT_EQ(appearanceSettings(groups), c.meaning)
            << c.group << ' ' << c.key << ' ' << c.value.toString().toStdString();
    }
    EXPECT_EQ(appearanceSettings({}), kNothing);
}

TEST(AppearanceSettings, AskForEveryGroupThatMeansSomething) {
    for (const Case& c : kCases) {
        EXPECT_TRUE(appearanceGroups().contains(QString::fromLatin1(c.group))) << c.group;
    }
}

TEST(AppearanceSettings, ADesktopThatAsksForNothingDoesNotSilenceAnother) {
    EXPECT_EQ(
        appearanceSettings(
            {{QString::fromLatin1(kGnome),
              {{QStringLiteral("text-scaling-factor"), 1.0},
               {QStringLiteral("enable-animations"), true}}},
             {QString::fromLatin1(kKde), {{QStringLiteral("AnimationDurationFactor"), theme("0")}}},
             {QString::fromLatin1(kKdeGeneral),
              {{QStringLiteral("font"), theme("Noto Sans,15,-1,5,50,0,0,0,0,0")}}}}),
        (AppearanceSettings{.dark = {}, .fontScale = 1.5, .reducedMotion = true}));
}

TEST(AppearanceSettings, TheXServersHaveOtherNames) {
    const struct {
        const char* name;
        QVariant value;
        AppearanceSettings meaning;
    } cases[] = {
        {"Gtk/FontName", theme("Sans 10"), kNothing},
        {"Gtk/FontName", theme("Cantarell 11"), kNothing},
        {"Gtk/FontName", theme("Noto Sans Bold 12.5"), font(1.25)},
        {"Gtk/FontName", theme("Sans 20"), font(2)},
        {"Gtk/FontName", theme("Sans 99"), font(3)},
        {"Gtk/FontName", theme("Sans 20px"), kNothing},
        {"Gtk/FontName", theme(""), kNothing},
        {"Net/ThemeName", theme("Adwaita"), kNothing},
        {"Net/ThemeName", theme("HighContrast"), kContrast},
        {"Net/ThemeName", theme("ContrastHigh"), kContrast},
        {"Gtk/EnableAnimations", 1, kNothing},
        {"Gtk/EnableAnimations", 0, kStill},
        {"Gtk/CursorBlink", 0, kNothing},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(x11AppearanceSettings({{QString::fromLatin1(c.name), c.value}}), c.meaning)
            << c.name << ' ' << c.value.toString().toStdString();
    }
    EXPECT_EQ(x11AppearanceSettings({}), kNothing);
}

} // namespace
} // namespace korvel::platform
