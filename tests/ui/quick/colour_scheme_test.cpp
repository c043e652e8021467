#include "ui/quick/colour_scheme.h"

#include <gtest/gtest.h>

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QPalette>

namespace korvel {
namespace {

constexpr const char* kService = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";

/// What the desktop portal answers about its settings.
class FakeSettings : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

  public:
    uint scheme = 0;

  public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key) {
        EXPECT_EQ(group, "org.freedesktop.appearance");
        EXPECT_EQ(key, "color-scheme");
        return QDBusVariant(QVariant::fromValue(QDBusVariant(scheme)));
    }

  Q_SIGNALS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

/// Lets the program run until `condition` holds, at most some seconds.
template <typename Condition>
bool eventually(Condition condition) {
    QDeadlineTimer deadline(5000);
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return condition();
}

class Scheme : public testing::Test {
  protected:
    void SetUp() override {
        setGround(Qt::white);
        if (!portal.isConnected()) {
            GTEST_SKIP() << "there is no session bus; run under dbus-run-session";
        }
        ASSERT_TRUE(portal.registerObject(
            kPath, &settings, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        ASSERT_TRUE(portal.registerService(kService));
    }
    void TearDown() override {
        portal.unregisterService(kService);
        portal.unregisterObject(kPath);
        QDBusConnection::disconnectFromBus("portal");
        QDBusConnection::disconnectFromBus("program");
        setGround(Qt::white);
    }
    static void setGround(const QColor& colour) {
        QPalette palette;
        palette.setColor(QPalette::Window, colour);
        QGuiApplication::setPalette(palette);
    }
    /// A round trip to the portal and back: what was sent before has arrived.
    void settle() {
        bool answered = false;
        QDBusMessage ping =
            QDBusMessage::createMethodCall(kService, kPath, "org.freedesktop.DBus.Peer", "Ping");
        QDBusPendingCallWatcher watcher(program.asyncCall(ping));
        QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher,
                         [&] { answered = true; });
        ASSERT_TRUE(eventually([&] { return answered; }));
    }

    FakeSettings settings;
    QDBusConnection portal = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal");
    QDBusConnection program = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "program");
};

TEST_F(Scheme, AsksThePortalWithoutWaiting) {
    settings.scheme = 1;
    const ColourScheme scheme(program);
    EXPECT_FALSE(scheme.dark()) << "the answer cannot have come yet";
    EXPECT_TRUE(eventually([&] { return scheme.dark(); }));
}

TEST_F(Scheme, FollowsThePortalWhileItRuns) {
    settings.scheme = 2;
    const ColourScheme scheme(program);
    settle();
    EXPECT_FALSE(scheme.dark());
    Q_EMIT settings.SettingChanged("org.freedesktop.appearance", "color-scheme", QDBusVariant(1u));
    EXPECT_TRUE(eventually([&] { return scheme.dark(); }));
    Q_EMIT settings.SettingChanged("org.freedesktop.appearance", "color-scheme", QDBusVariant(2u));
    EXPECT_TRUE(eventually([&] { return !scheme.dark(); }));
}

TEST_F(Scheme, AsksAPortalThatComesLater) {
    settings.scheme = 1;
    ASSERT_TRUE(portal.unregisterService(kService));
    const ColourScheme scheme(program);
    EXPECT_FALSE(scheme.dark());
    ASSERT_TRUE(portal.registerService(kService));
    EXPECT_TRUE(eventually([&] { return scheme.dark(); }));
}

TEST_F(Scheme, OtherSettingsAreNoneOfItsBusiness) {
    const ColourScheme scheme(program);
    settle();
    Q_EMIT settings.SettingChanged("org.freedesktop.appearance", "contrast", QDBusVariant(1u));
    Q_EMIT settings.SettingChanged("org.gnome.desktop.interface", "color-scheme", QDBusVariant(1u));
    settle();
    EXPECT_FALSE(scheme.dark());
}

TEST_F(Scheme, WithoutAPreferenceThePaletteCounts) {
    const ColourScheme scheme(program);
    settle();
    EXPECT_FALSE(scheme.dark());
    setGround(Qt::black);
    EXPECT_TRUE(eventually([&] { return scheme.dark(); }));
}

TEST_F(Scheme, APreferenceOutdoesThePalette) {
    settings.scheme = 2;
    const ColourScheme scheme(program);
    settle();
    setGround(Qt::black);
    settle();
    EXPECT_FALSE(scheme.dark());
}

TEST(SchemeWithoutABus, IsThePalettes) {
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::black);
    QGuiApplication::setPalette(palette);
    EXPECT_TRUE(ColourScheme(QDBusConnection("none")).dark());
    palette.setColor(QPalette::Window, Qt::white);
    QGuiApplication::setPalette(palette);
    EXPECT_FALSE(ColourScheme(QDBusConnection("none")).dark());
}

} // namespace
} // namespace korvel

#include "colour_scheme_test.moc"
