#include "platform/linux/session/bus_object.h"

#include <chrono>
#include <memory>
#include <string>

#include <QCoreApplication>
#include <QDBusReply>
#include <QObject>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"

namespace korvel::platform {
namespace {

const QString kService = QStringLiteral("org.example.Service");
const QString kPath = QStringLiteral("/org/example/Service");

/// What a service does for those who call it.
class Service : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.example.Service")
    Q_PROPERTY(int answer READ answer)

  public:
    int told = 0;

    int answer() const { return 42; }
    Q_SLOT QString joined(const QString& first, unsigned second) {
        ++told;
        return first + QString::number(second);
    }
};

class BusObjectTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(program_.isConnected());
    }
    ~BusObjectTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
        QDBusConnection::disconnectFromBus(QStringLiteral("service"));
    }

    void startService() {
        QDBusConnection own = bus_.connect(QStringLiteral("service"));
        own.registerObject(kPath, &service_,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        ASSERT_TRUE(own.registerService(kService));
    }

    BusObject object(Activation activation = Activation::never) const {
        return {program_, kService, kPath, kService, activation};
    }

    /// The error of a call that is waited for.
    static std::string errorOf(const BusObject& object) {
        const std::chrono::milliseconds patience(200);
        return object.call("joined", {}, patience).errorName().toStdString();
    }

    PrivateBus bus_;
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
    Service service_;
};

TEST_F(BusObjectTest, AServiceIsStartedOnlyWhereThatIsAllowed) {
    ASSERT_TRUE(bus_.offer(kService, "/bin/false"));
    EXPECT_EQ(errorOf(object(Activation::never)), "org.freedesktop.DBus.Error.NameHasNoOwner");
    EXPECT_EQ(errorOf(object(Activation::allowed)), "org.freedesktop.DBus.Error.Spawn.ChildExited");
}

TEST_F(BusObjectTest, ANameWithoutAnOwnerIsToldFromOtherErrors) {
    const std::chrono::milliseconds patience(200);
    for (const Activation activation : {Activation::never, Activation::allowed}) {
        EXPECT_TRUE(BusObject::nobodyThere(object(activation).call("joined", {}, patience)));
    }
    startService();
    EXPECT_FALSE(BusObject::nobodyThere(object().call("joined", {}, patience)));
}

TEST_F(BusObjectTest, AnAnswerIsWaitedForNoLongerThanSaid) {
    startService(); // on this thread, which cannot answer while it waits
    EXPECT_EQ(errorOf(object()), "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(BusObjectTest, WithoutABusEachCallFails) {
    const BusObject nowhere(QDBusConnection(QStringLiteral("never connected")), kService, kPath,
                            kService);
    const std::string disconnected = "org.freedesktop.DBus.Error.Disconnected";
    EXPECT_EQ(errorOf(nowhere), disconnected);
    std::string error;
    nowhere.ask("joined", {}, service_,
                [&](const QDBusMessage& answer) { error = answer.errorName().toStdString(); });
    EXPECT_EQ(error, "") << "not before a later turn";
    EXPECT_TRUE(runUntil([&] { return !error.empty(); }));
    EXPECT_EQ(error, disconnected);
}

TEST_F(BusObjectTest, AQuestionIsAnsweredOnALaterTurn) {
    startService();
    QString text;
    object().ask("joined", {QStringLiteral("a"), 7U}, service_,
                 [&](const QDBusMessage& answer) { text = QDBusReply<QString>(answer).value(); });
    EXPECT_EQ(text, QString());
    EXPECT_TRUE(runUntil([&] { return !text.isEmpty(); }));
    EXPECT_EQ(text, QStringLiteral("a7"));
}

TEST_F(BusObjectTest, APropertyComesAsAVariant) {
    startService();
    QVariant value;
    object().askProperty("answer", service_, [&](const QDBusMessage& answer) {
        value = QDBusReply<QVariant>(answer).value();
    });
    EXPECT_TRUE(runUntil([&] { return value.isValid(); }));
    EXPECT_EQ(value.toInt(), 42);
}

TEST_F(BusObjectTest, NobodyIsAnsweredWhoIsGone) {
    startService();
    bool answered = false;
    auto context = std::make_unique<QObject>();
    object().ask("joined", {QString(), 1U}, *context,
                 [&](const QDBusMessage&) { answered = true; });
    context.reset();
    bool settled = false; // by the order of messages, after the answer
    object().ask("joined", {QString(), 2U}, service_, [&](const QDBusMessage&) { settled = true; });
    EXPECT_TRUE(runUntil([&] { return settled; }));
    EXPECT_EQ(service_.told, 2);
    EXPECT_FALSE(answered);
}

TEST_F(BusObjectTest, WhatIsToldArrives) {
    startService();
    object().tell("joined", {QString(), 1U});
    EXPECT_TRUE(runUntil([&] { return service_.told == 1; }));
}

} // namespace
} // namespace korvel::platform

#include "bus_object_test.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
