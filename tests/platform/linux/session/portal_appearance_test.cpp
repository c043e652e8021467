#include "platform/linux/session/portal_appearance.h"

#include <QCoreApplication>
#include <QDBusMetaType>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"

namespace korvel::platform {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");
const QString kInterface = QStringLiteral("org.gnome.desktop.interface");

/// What the desktop portal answers about its settings.
class FakeSettings : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

  public:
    SettingGroups groups;
    int questions = 0;

    void prefer(uint scheme) { groups[kGroup][kKey] = scheme; }

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SLOT korvel::platform::SettingGroups ReadAll(const QStringList& wanted) {
        EXPECT_EQ(wanted, appearanceGroups());
        ++questions;
        return groups;
    }

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SIGNAL void SettingChanged(const QString& group, const QString& key,
                                 const QDBusVariant& value);
};

/// Answers with something else.
class FakeSettingsOfAnotherForm : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

  public:
    int questions = 0;

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SLOT QString ReadAll(const QStringList& /*wanted*/) {
        ++questions;
        return QStringLiteral("dark");
    }
};

class PortalAppearanceTest : public testing::Test {
  protected:
    void SetUp() override {
        qDBusRegisterMetaType<korvel::platform::SettingGroups>();
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(portal_.registerObject(kPath, &settings_,
                                           QDBusConnection::ExportAllSlots |
                                               QDBusConnection::ExportAllSignals));
        ASSERT_TRUE(portal_.registerService(kService));
    }
    ~PortalAppearanceTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
    }

    /// What the appearance says once it has asked and been answered.
    static std::optional<bool> answered(PortalAppearance& appearance,
                                        const FakeSettings& settings) {
        EXPECT_TRUE(runUntil([&] { return settings.questions > 0; }));
        runFor(kQuiet, [&] { return appearance.prefersDark().has_value(); });
        return appearance.prefersDark();
    }

    static constexpr int kQuiet = 250; // milliseconds; after which nothing more is to be expected

    PrivateBus bus_;
    FakeSettings settings_;
    QDBusConnection portal_ = bus_.connect(QStringLiteral("portal"));
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
};

TEST_F(PortalAppearanceTest, AsksThePortalWithoutWaiting) {
    settings_.prefer(1);
    PortalAppearance appearance(program_);
    EXPECT_EQ(appearance.prefersDark(), std::nullopt) << "the answer cannot have come yet";
    int changes = 0;
    appearance.follow([&] { ++changes; });
    EXPECT_EQ(answered(appearance, settings_), true);
    EXPECT_EQ(changes, 1);
}

TEST_F(PortalAppearanceTest, OneIsDarkTwoIsLightAndAnythingElseNoPreference) {
    for (const uint scheme : {0U, 1U, 2U, 3U}) {
        settings_.prefer(scheme);
        settings_.questions = 0;
        PortalAppearance appearance(program_);
        const std::optional<bool> dark = answered(appearance, settings_);
        EXPECT_EQ(dark, scheme == 1   ? std::optional(true)
                        : scheme == 2 ? std::optional(false)
                                      : std::nullopt)
            << scheme;
    }
}

TEST_F(PortalAppearanceTest, FollowsThePortalWhileItRuns) {
    settings_.prefer(2);
    PortalAppearance appearance(program_);
    EXPECT_EQ(answered(appearance, settings_), false);
    Q_EMIT settings_.SettingChanged(kGroup, kKey, QDBusVariant(1U));
    EXPECT_TRUE(runUntil([&] { return appearance.prefersDark() == true; }));
    Q_EMIT settings_.SettingChanged(kGroup, kKey, QDBusVariant(0U));
    EXPECT_TRUE(runUntil([&] { return !appearance.prefersDark(); }));
}

TEST_F(PortalAppearanceTest, ThePortalOfABusThatIsBackIsAskedAndFollowed) {
    settings_.prefer(1);
    PortalAppearance appearance(program_);
    EXPECT_EQ(answered(appearance, settings_), true);
    const PrivateBus second;
    QDBusConnection there = second.connect(QStringLiteral("portal there"));
    FakeSettings other;
    other.prefer(2);
    ASSERT_TRUE(there.registerObject(
        kPath, &other, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
    ASSERT_TRUE(there.registerService(kService));
    QDBusConnection::disconnectFromBus(program_.name());
    appearance.useBus(second.connect(program_.name())); // the program's connection keeps its name
    EXPECT_EQ(appearance.prefersDark(), true) << "what was known holds meanwhile";
    EXPECT_TRUE(runUntil([&] { return appearance.prefersDark() == false; }));
    Q_EMIT other.SettingChanged(kGroup, kKey, QDBusVariant(1U));
    EXPECT_TRUE(runUntil([&] { return appearance.prefersDark() == true; }));
    const int before = other.questions;
    ASSERT_TRUE(there.unregisterService(kService));
    ASSERT_TRUE(there.registerService(kService));
    EXPECT_TRUE(runUntil([&] { return other.questions > before; })) << "one that comes is asked";
    QDBusConnection::disconnectFromBus(QStringLiteral("portal there"));
}

TEST_F(PortalAppearanceTest, AsksAPortalThatComesLater) {
    settings_.prefer(1);
    ASSERT_TRUE(portal_.unregisterService(kService));
    const PortalAppearance appearance(program_);
    EXPECT_FALSE(runFor(kQuiet, [&] { return appearance.prefersDark().has_value(); }));
    ASSERT_TRUE(portal_.registerService(kService));
    EXPECT_TRUE(runUntil([&] { return appearance.prefersDark() == true; }));
}

TEST_F(PortalAppearanceTest, WhatWasKnownStaysAfterAnAnswerOfAnotherForm) {
    settings_.prefer(1);
    PortalAppearance appearance(program_);
    EXPECT_EQ(answered(appearance, settings_), true);
    FakeSettingsOfAnotherForm other;
    ASSERT_TRUE(portal_.unregisterService(kService));
    portal_.unregisterObject(kPath);
    ASSERT_TRUE(portal_.registerObject(kPath, &other, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(portal_.registerService(kService));
    EXPECT_TRUE(runUntil([&] { return other.questions == 1; }));
    EXPECT_FALSE(runFor(kQuiet, [&] { return appearance.prefersDark() != true; }));
}

TEST_F(PortalAppearanceTest, OtherSettingsAreNoneOfItsBusiness) {
    settings_.prefer(2);
    PortalAppearance appearance(program_);
    EXPECT_EQ(answered(appearance, settings_), false);
    int changes = 0;
    appearance.follow([&] { ++changes; });
    Q_EMIT settings_.SettingChanged(kGroup, QStringLiteral("accent-color"), QDBusVariant(1U));
    Q_EMIT settings_.SettingChanged(kInterface, kKey, QDBusVariant(1U));
    Q_EMIT settings_.SettingChanged(QStringLiteral("org.gnome.desktop.sound"), kKey,
                                    QDBusVariant(1U));
    EXPECT_FALSE(runFor(kQuiet, [&] { return appearance.prefersDark() != false || changes > 0; }));
}

TEST_F(PortalAppearanceTest, FollowsSizeContrastAndMotionWithOneQuestion) {
    settings_.prefer(2);
    settings_.groups[kInterface] = {{QStringLiteral("text-scaling-factor"), 1.25},
                                    {QStringLiteral("enable-animations"), false}};
    PortalAppearance appearance(program_);
    EXPECT_EQ(appearance.textScale(), 1);
    EXPECT_EQ(answered(appearance, settings_), false);
    EXPECT_EQ(appearance.textScale(), 1.25);
    EXPECT_TRUE(appearance.reducesMotion());
    EXPECT_FALSE(appearance.prefersContrast());
    int changes = 0;
    appearance.follow([&] { ++changes; });
    Q_EMIT settings_.SettingChanged(kInterface, QStringLiteral("text-scaling-factor"),
                                    QDBusVariant(1.5));
    Q_EMIT settings_.SettingChanged(kInterface, QStringLiteral("enable-animations"),
                                    QDBusVariant(true));
    Q_EMIT settings_.SettingChanged(kGroup, QStringLiteral("contrast"), QDBusVariant(1U));
    EXPECT_TRUE(runUntil([&] { return changes == 3; }));
    EXPECT_EQ(appearance.textScale(), 1.5);
    EXPECT_FALSE(appearance.reducesMotion());
    EXPECT_TRUE(appearance.prefersContrast());
    EXPECT_EQ(settings_.questions, 1);
}

TEST_F(PortalAppearanceTest, ASizeThatTheDisplaysScaleHasInItIsNotAppliedAgain) {
    settings_.prefer(2);
    settings_.groups[kInterface] = {{QStringLiteral("text-scaling-factor"), 1.5}};
    double displayScale = 1;
    PortalAppearance appearance(program_, [&] { return displayScale; });
    EXPECT_EQ(answered(appearance, settings_), false);
    struct Scales {
        double displayScale;
        double textScale;
    };
    for (const Scales& scales : {Scales{1, 1.5}, Scales{1.25, 1.5}, Scales{1.5, 1}, Scales{3, 1}}) {
        displayScale = scales.displayScale;
        EXPECT_EQ(appearance.textScale(), scales.textScale) << scales.displayScale;
    }
}

TEST_F(PortalAppearanceTest, TheSizeOfTheFontIsInNoDisplaysScale) {
    settings_.prefer(2);
    settings_.groups[kInterface] = {{QStringLiteral("text-scaling-factor"), 1.25}};
    settings_.groups[QStringLiteral("org.kde.kdeglobals.General")] = {
        {QStringLiteral("font"), QStringLiteral("Noto Sans,15,-1,5,50,0,0,0,0,0")}};
    PortalAppearance appearance(program_, [] { return 2.0; });
    EXPECT_EQ(answered(appearance, settings_), false);
    EXPECT_EQ(appearance.textScale(), 1.5);
}

TEST_F(PortalAppearanceTest, AnAnswerAfterItsEndIsNoHarm) {
    { const PortalAppearance appearance(program_); }
    EXPECT_TRUE(runUntil([this] { return settings_.questions == 1; }));
    runFor(kQuiet, [] { return false; });
}

TEST(PortalAppearance, WithoutABusNothingIsKnown) {
    const PortalAppearance appearance(QDBusConnection(QStringLiteral("never connected")));
    EXPECT_EQ(appearance.prefersDark(), std::nullopt);
    EXPECT_EQ(appearance.textScale(), 1);
    EXPECT_FALSE(appearance.prefersContrast());
    EXPECT_FALSE(appearance.reducesMotion());
}

} // namespace
} // namespace korvel::platform

#include "portal_appearance_test.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
