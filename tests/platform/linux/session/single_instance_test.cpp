#include "platform/linux/session/single_instance.h"

#include <atomic>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QThread>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"

namespace korvel::platform {
namespace {

const QString kName = QStringLiteral("com.oxbrook.korvel");
const QString kPath = QStringLiteral("/com/oxbrook/korvel");

QDBusConnection connectToSession(const QString& name) {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

/// A program that has the name, on a thread of its own.
class OtherProgram : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    OtherProgram() {
        moveToThread(&thread_);
        thread_.start();
        QMetaObject::invokeMethod(
            this,
            [this] {
                QDBusConnection own = connectToSession(QStringLiteral("other"));
                own.registerObject(kPath, this, QDBusConnection::ExportAllSlots);
                EXPECT_TRUE(own.registerService(kName));
            },
            Qt::BlockingQueuedConnection);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() override {
        thread_.quit();
        thread_.wait();
        QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    }

    std::atomic<int> activations = 0;
    /// The name goes while the call is on its way: the bus answers in its place.
    std::atomic<bool> ends = false;

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SLOT void Activate(const QVariantMap& /*platformData*/) {
        ++activations;
        if (ends) {
            connection().unregisterService(kName);
            sendErrorReply(QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
                           QStringLiteral("Name does not exist"));
        }
    }

  private:
    QThread thread_;
};

class SingleInstanceTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(QDBusConnection::sessionBus().isConnected()); }
    ~SingleInstanceTest() override {
        QDBusConnection::sessionBus().unregisterService(kName);
        QDBusConnection::sessionBus().unregisterObject(kPath);
    }

    int activations_ = 0;
    SingleInstance instance_{[this] { ++activations_; }};
};

TEST_F(SingleInstanceTest, TheFirstHasTheNameAndIsActivatedByTheNext) {
    EXPECT_TRUE(instance_.acquire());
    QDBusConnection next = connectToSession(QStringLiteral("next"));
    EXPECT_FALSE(next.registerService(kName));
    const BusObject program(next, kName, kPath, QStringLiteral("org.freedesktop.Application"));
    program.tell("Activate", {QVariantMap()});
    EXPECT_TRUE(runUntil([this] { return activations_ == 1; }));
    QDBusConnection::disconnectFromBus(QStringLiteral("next"));
}

TEST_F(SingleInstanceTest, OneThatRunsIsActivatedOnceAndStaysTheOnlyOne) {
    const OtherProgram other;
    EXPECT_FALSE(instance_.acquire());
    EXPECT_EQ(other.activations, 1);
}

TEST_F(SingleInstanceTest, OneThatEndsInBetweenIsReplaced) {
    OtherProgram other;
    other.ends = true;
    EXPECT_TRUE(instance_.acquire());
    EXPECT_EQ(other.activations, 1);
}

} // namespace
} // namespace korvel::platform

#include "single_instance_test.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const korvel::PrivateBus bus;
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
    return RUN_ALL_TESTS();
}
