// Against the manager on the session bus; run by systemd_user_test.

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/systemd_agents.h"

namespace korvel::platform {
namespace {

const char* const kLabel = "com.example.agent.of.test";
const QString kUnit = QStringLiteral("com.example.agent.of.test.service");

QDBusMessage tell(const QString& method, const QVariantList& arguments = {}) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
        QStringLiteral("org.freedesktop.systemd1.Manager"), method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return QDBusConnection::sessionBus().call(call, QDBus::BlockWithGui);
}

/// Counts how often the manager takes the unit into memory.
class Counter final : public QObject {
    Q_OBJECT

  public:
    Counter() {
        QDBusConnection::sessionBus().connect(
            QString(), QStringLiteral("/org/freedesktop/systemd1"),
            QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("UnitNew"), this,
            SLOT(unitNew(QString)));
    }

    Q_SLOT void unitNew(const QString& unit) { count += unit == kUnit ? 1 : 0; }

    int count = 0;
};

TEST(UsersManager, AnAgentIsLoadedFromItsInstallationToItsRemoval) {
    ASSERT_TRUE(runFor(10000, [] {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(
            QStringLiteral("org.freedesktop.systemd1"));
    })) << "the manager did not come up";
    SystemdAgents agents;
    EXPECT_FALSE(agents.isLoaded(kLabel));
    EXPECT_TRUE(agents.isLoaded("dbus") || agents.isLoaded("systemd-exit"))
        << "one of those that come with the manager";
    // What the program does in its event loop, from here on.
    Counter counter;
    EXPECT_FALSE(runFor(1000, [&] { return agents.isLoaded(kLabel); }));

    QFile file(QDir::homePath() + QStringLiteral("/.config/systemd/user/") + kUnit);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Service]\nExecStart=/bin/sleep 1000\n");
    file.close();
    tell(QStringLiteral("Reload"));
    EXPECT_TRUE(runFor(5000, [&] { return agents.isLoaded(kLabel); })) << "installed";

    const QVariantList start{kUnit, QStringLiteral("replace")};
    EXPECT_EQ(tell(QStringLiteral("StartUnit"), start).type(), QDBusMessage::ReplyMessage);
    EXPECT_FALSE(runFor(1500, [&] { return !agents.isLoaded(kLabel); })) << "started";
    tell(QStringLiteral("StopUnit"), start);
    EXPECT_FALSE(runFor(1500, [&] { return !agents.isLoaded(kLabel); })) << "stopped, not gone";

    counter.count = 0;
    EXPECT_FALSE(runFor(2000, [&] { return counter.count > 0; })) << "no question follows another";

    ASSERT_TRUE(file.remove());
    tell(QStringLiteral("Reload"));
    EXPECT_TRUE(runFor(5000, [&] { return !agents.isLoaded(kLabel); })) << "removed";
    counter.count = 0;
    runFor(700, [] { return false; });
    EXPECT_FALSE(runFor(2000, [&] { return counter.count > 1; })) << "nor here";
}

} // namespace
} // namespace korvel::platform

#include "systemd_user_check.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
