#include "platform/linux/session/session_bus.h"

#include <chrono>

#include <QCoreApplication>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"

namespace korvel::platform {
namespace {

class SessionBusTest : public testing::Test {
  protected:
    SessionBusTest() {
        QObject::connect(&bus_, &SessionBus::lost, [this] { ++lost_; });
        QObject::connect(&bus_, &SessionBus::returned, [this](const QDBusConnection& bus) {
            ++returned_;
            EXPECT_TRUE(bus.isConnected());
            EXPECT_EQ(bus.name(), bus_.connection().name());
        });
    }

    inline static PrivateBus* session = nullptr;

    SessionBus bus_{sessionBusIfThere(), std::chrono::milliseconds(50)};
    int lost_ = 0;
    int returned_ = 0;

    friend int run(int argc, char** argv);
};

// One test, for the library does not connect its shared connection twice in a process.
TEST_F(SessionBusTest, ABusThatIsBackIsConnectedToAgainEachTime) {
    ASSERT_TRUE(bus_.connection().isConnected());
    EXPECT_EQ(bus_.connection().name(), QDBusConnection::sessionBus().name())
        << "one connection is enough";
    session->stop();
    session->start();
    ASSERT_TRUE(runUntil([this] { return returned_ == 1; })) << "it is there at once";
    EXPECT_EQ(lost_, 1);
    session->stop();
    ASSERT_TRUE(runUntil([this] { return lost_ == 2; }));
    EXPECT_FALSE(bus_.connection().isConnected());
    EXPECT_EQ(returned_, 1);
    session->start();
    ASSERT_TRUE(runUntil([this] { return returned_ == 2; })) << "it is looked for";
    EXPECT_TRUE(bus_.connection().isConnected());
    EXPECT_EQ(lost_, 2);
}

TEST_F(SessionBusTest, ServicesOfABusThatIsBackAreWatchedAgain) {
    const QString service = QStringLiteral("org.example.Service");
    BusWatch watch(QDBusConnection::SessionBus, QStringLiteral("watch"), {service},
                   std::chrono::milliseconds(50));
    watch.setWanted(true);
    bool returned = false;
    QString owner;
    QObject::connect(&watch, &BusWatch::returned, [&] { returned = true; });
    QObject::connect(&watch, &BusWatch::appeared,
                     [&](const QString&, const QString& who) { owner = who; });
    session->stop();
    session->start();
    ASSERT_TRUE(runUntil([&] { return returned; }));
    QDBusConnection other = session->connect(QStringLiteral("other"));
    ASSERT_TRUE(other.registerService(service));
    EXPECT_TRUE(runUntil([&] { return owner == other.baseService(); }));
    QDBusConnection::disconnectFromBus(QStringLiteral("other"));
}

TEST_F(SessionBusTest, WithoutABusNothingIsLookedFor) {
    const SessionBus none(QDBusConnection(QStringLiteral("never connected")));
    EXPECT_FALSE(none.connection().isConnected());
}

int run(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    PrivateBus session;
    qputenv("DBUS_SESSION_BUS_ADDRESS", session.address().toUtf8());
    SessionBusTest::session = &session;
    return RUN_ALL_TESTS();
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    return korvel::platform::run(argc, argv);
}
