#include "platform/linux/session/single_instance.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QObject>
#include <QThread>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"
#include "platform/posix/file_descriptor.h"
#include "platform/status_bar.h"
#include "support/temp_tree.h"

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
                address_ = own.baseService();
            },
            Qt::BlockingQueuedConnection);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() override {
        leave();
        thread_.quit();
        thread_.wait();
    }

    std::atomic<int> activations = 0;

    /// What it does when it is to come to the front.
    enum class Way {
        answers,
        losesItsName, ///< while the call is on its way: the bus answers in its place
        dies,         ///< without an answer
        hangs,
        refuses,
    };
    std::atomic<Way> way = Way::answers;

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SLOT void Activate(const QVariantMap& platformData) {
        ++activations;
        const std::scoped_lock lock(mutex_);
        platformData_ = platformData;
        if (way == Way::losesItsName) {
            connection().unregisterService(kName);
            sendErrorReply(QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
                           QStringLiteral("Name does not exist"));
        } else if (way == Way::refuses) {
            sendErrorReply(QDBusError::Failed);
        } else if (way != Way::answers) {
            setDelayedReply(true);
        }
        if (way == Way::dies) {
            QDBusConnection::disconnectFromBus(connection().name());
        }
    }

    /// What came with the last activation.
    QVariantMap platformData() {
        const std::scoped_lock lock(mutex_);
        return platformData_;
    }

    /// Leaves the bus, as at its end, and returns when the bus has seen it.
    void leave() {
        QMetaObject::invokeMethod(
            this, [] { QDBusConnection::disconnectFromBus(QStringLiteral("other")); },
            Qt::BlockingQueuedConnection);
        constexpr int kMost = 5000; // milliseconds
        const QDeadlineTimer limit(kMost);
        const QDBusConnectionInterface& bus = *QDBusConnection::sessionBus().interface();
        while (bus.isServiceRegistered(address_) && !limit.hasExpired()) {
        }
        EXPECT_FALSE(limit.hasExpired());
    }

  private:
    QString address_; ///< its connection's own name
    std::mutex mutex_;
    QVariantMap platformData_;
    QThread thread_;
};

class SingleInstanceTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime_.root()));
    }
    ~SingleInstanceTest() override {
        QDBusConnection::sessionBus().interface()->unregisterService(kName);
        QDBusConnection::sessionBus().unregisterObject(kPath);
    }

    static QString owner() {
        return QDBusConnection::sessionBus().interface()->serviceOwner(kName).value();
    }
    static QString self() { return QDBusConnection::sessionBus().baseService(); }

    const TempTree runtime_;
    std::vector<std::string> tokens_; ///< that came, one for each activation
    SingleInstance instance_{
        [this](const ActivationRequest& request) { tokens_.push_back(request.token); },
        {.answer = std::chrono::milliseconds(2000), .end = std::chrono::milliseconds(5000)}};
    SingleInstance hasty_{
        [](const ActivationRequest&) {},
        {.answer = std::chrono::milliseconds(50), .end = std::chrono::milliseconds(50)}};
};

TEST_F(SingleInstanceTest, TheFirstHasTheNameAndIsActivatedByTheNext) {
    EXPECT_TRUE(instance_.acquire(Start::ordinary));
    QDBusConnection next = connectToSession(QStringLiteral("next"));
    EXPECT_FALSE(next.registerService(kName));
    const BusObject program(next, kName, kPath, QStringLiteral("org.freedesktop.Application"));
    program.tell("Activate", {QVariantMap()});
    EXPECT_TRUE(runUntil([this] { return tokens_.size() == 1; }));
    QDBusConnection::disconnectFromBus(QStringLiteral("next"));
}

TEST_F(SingleInstanceTest, OneThatHasTheNameHoldsTheLockForThoseWhomTheBusDoesNotAnswer) {
    const std::string path = runtime_.root() + "/korvel.lock";
    ASSERT_TRUE(instance_.acquire(Start::ordinary));
    const FileDescriptor next(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(next);
    EXPECT_NE(::flock(next.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(SingleInstanceTest, ALockThatAnotherHoldsDoesNotMatterWhereThereIsABus) {
    const std::string path = runtime_.root() + "/korvel.lock";
    const FileDescriptor other(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_TRUE(instance_.acquire(Start::ordinary));
}

TEST_F(SingleInstanceTest, TheTokenOfWhoActivatesIsHandedOn) {
    ASSERT_TRUE(instance_.acquire(Start::ordinary));
    QDBusConnection next = connectToSession(QStringLiteral("next"));
    const BusObject program(next, kName, kPath, QStringLiteral("org.freedesktop.Application"));
    const QString activation = QStringLiteral("activation-token");
    const QString startup = QStringLiteral("desktop-startup-id");
    const std::vector<std::pair<QVariantMap, std::string>> rows{
        {{}, ""},
        {{{activation, "a"}, {startup, "s"}}, "a"},
        {{{startup, "s"}}, "s"},
        {{{activation, ""}, {startup, "s"}}, "s"},
        {{{activation, 5}, {startup, "s"}}, "s"},
        {{{activation, QStringList{"a"}}, {"another", "b"}}, ""},
    };
    for (const auto& [data, token] : rows) {
        tokens_.clear();
        program.tell("Activate", {data});
        EXPECT_TRUE(runUntil([this] { return !tokens_.empty(); }));
        EXPECT_THAT(tokens_, testing::ElementsAre(token));
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("next"));
}

TEST_F(SingleInstanceTest, OneThatRunsGetsTheTokenOfThisProcess) {
    OtherProgram other;
    const auto handed = [&](const LaunchToken& token) {
        EXPECT_FALSE(instance_.acquire(Start::ordinary, token));
        return other.platformData();
    };
    EXPECT_EQ(handed({}), QVariantMap());
    EXPECT_EQ(handed({.activation = "a", .startup = {}}), QVariantMap({{"activation-token", "a"}}));
    EXPECT_EQ(handed({.activation = "a", .startup = "s"}),
              QVariantMap({{"activation-token", "a"}, {"desktop-startup-id", "s"}}));
}

TEST(LaunchToken, IsTakenOutOfTheEnvironment) {
    qputenv("XDG_ACTIVATION_TOKEN", "a");
    qputenv("DESKTOP_STARTUP_ID", "s");
    const LaunchToken both = takeLaunchToken();
    EXPECT_EQ(both.activation, "a");
    EXPECT_EQ(both.startup, "s");
    EXPECT_EQ(both.any(), "a");
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    EXPECT_FALSE(qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID"));
    EXPECT_EQ(takeLaunchToken().any(), "");
    qputenv("DESKTOP_STARTUP_ID", "s");
    EXPECT_EQ(takeLaunchToken().any(), "s");
}

TEST(AutostartMark, IsTakenOutOfTheEnvironment) {
    EXPECT_FALSE(takeAutostartMark());
    qputenv("KORVEL_AUTOSTART", "1");
    EXPECT_TRUE(takeAutostartMark());
    EXPECT_FALSE(qEnvironmentVariableIsSet("KORVEL_AUTOSTART"));
    EXPECT_FALSE(takeAutostartMark());
}

TEST_F(SingleInstanceTest, OneThatRunsIsActivatedOnceAndStaysTheOnlyOne) {
    OtherProgram other;
    EXPECT_FALSE(instance_.acquire(Start::ordinary));
    EXPECT_EQ(other.activations, 1);
    EXPECT_NE(owner(), self());
    other.leave();
    EXPECT_EQ(owner(), "") << "one that was not to run waits for the name no longer";
}

TEST_F(SingleInstanceTest, OneThatRunsIsLeftAloneByAStartOfTheSession) {
    OtherProgram other;
    EXPECT_FALSE(instance_.acquire(Start::session));
    EXPECT_EQ(other.activations, 0);
    EXPECT_NE(owner(), self());
    other.leave();
    EXPECT_EQ(owner(), "");
}

TEST_F(SingleInstanceTest, OneThatEndsInBetweenIsReplaced) {
    OtherProgram other;
    other.way = OtherProgram::Way::losesItsName;
    EXPECT_TRUE(instance_.acquire(Start::ordinary));
    EXPECT_EQ(other.activations, 1);
    EXPECT_EQ(owner(), self());
}

TEST_F(SingleInstanceTest, OneThatDiesInsteadOfAnsweringIsReplaced) {
    OtherProgram other;
    other.way = OtherProgram::Way::dies;
    EXPECT_TRUE(instance_.acquire(Start::ordinary));
    EXPECT_EQ(other.activations, 1);
    EXPECT_EQ(owner(), self());
}

TEST_F(SingleInstanceTest, OneThatDoesNotComeToTheFrontAndThenEndsIsReplaced) {
    for (const auto way : {OtherProgram::Way::hangs, OtherProgram::Way::refuses}) {
        OtherProgram other;
        other.way = way;
        SingleInstance next([](const ActivationRequest&) {},
                            {.answer = std::chrono::milliseconds(5000), .end = {}});
        QTimer::singleShot(100, &next, [&other] { other.leave(); });
        EXPECT_TRUE(next.acquire(Start::ordinary));
        EXPECT_EQ(owner(), self());
        QDBusConnection::sessionBus().interface()->unregisterService(kName);
        QDBusConnection::sessionBus().unregisterObject(kPath);
    }
}

TEST_F(SingleInstanceTest, AnotherNameThatComesMeanwhileIsNotTheProgramsName) {
    OtherProgram other;
    other.way = OtherProgram::Way::hangs;
    SingleInstance next([](const ActivationRequest&) {},
                        {.answer = std::chrono::milliseconds(300), .end = {}});
    const QString another = kName + QStringLiteral(".another");
    QTimer::singleShot(
        10, &next, [&] { EXPECT_TRUE(QDBusConnection::sessionBus().registerService(another)); });
    EXPECT_FALSE(next.acquire(Start::ordinary));
    QDBusConnection::sessionBus().unregisterService(another);
}

TEST_F(SingleInstanceTest, OneThatHangsIsLeftAlone) {
    OtherProgram other;
    other.way = OtherProgram::Way::hangs;
    EXPECT_FALSE(hasty_.acquire(Start::ordinary));
    other.leave();
    EXPECT_EQ(owner(), "");
}

TEST_F(SingleInstanceTest, OneThatRelaunchesIsWaitedForAndNotActivated) {
    OtherProgram other;
    SingleInstance next([](const ActivationRequest&) {},
                        {.answer = {}, .end = std::chrono::milliseconds(5000)});
    QTimer::singleShot(100, &next, [&other] { other.leave(); });
    EXPECT_TRUE(next.acquire(Start::relaunch));
    EXPECT_EQ(other.activations, 0);
    EXPECT_EQ(owner(), self());
}

TEST_F(SingleInstanceTest, OneThatRelaunchesAndDoesNotEndIsActivatedAfterAWhile) {
    OtherProgram other;
    EXPECT_FALSE(hasty_.acquire(Start::relaunch));
    EXPECT_EQ(other.activations, 1);
    EXPECT_NE(owner(), self());
}

TEST_F(SingleInstanceTest, ABusThatIsBackHasTheNameAgainAndAnAnswerToTheNextStart) {
    const PrivateBus second;
    ASSERT_FALSE(second.address().isEmpty());
    const QDBusConnection back = second.connect(QStringLiteral("back"));
    instance_.useBus(back);
    EXPECT_TRUE(runUntil(
        [&] { return back.interface()->serviceOwner(kName).value() == back.baseService(); }));
    QDBusConnection next = second.connect(QStringLiteral("next"));
    const BusObject program(next, kName, kPath, QStringLiteral("org.freedesktop.Application"));
    program.tell("Activate", {QVariantMap()});
    EXPECT_TRUE(runUntil([this] { return tokens_.size() == 1; }));
    QDBusConnection::disconnectFromBus(QStringLiteral("next"));
    QDBusConnection::disconnectFromBus(QStringLiteral("back"));
}

TEST_F(SingleInstanceTest, ARelaunchAfterItsEndWaitsForNobody) {
    EXPECT_TRUE(hasty_.acquire(Start::relaunch));
    EXPECT_EQ(owner(), self());
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
