#include "platform/linux/session/systemd_query.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_with_manager.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/systemd_agents.h"

namespace korvel::platform {
namespace {

const char* const kAskedLabel = "com.example.asked.agent";
const QString kAskedUnit = QStringLiteral("com.example.asked.agent.service");
constexpr int kBrief = 500; // milliseconds; the quarter of a second, on a busy machine

class SystemdQueryTest : public BusWithManager {
  protected:
    void SetUp() override {
        BusWithManager::SetUp();
        address_ = bus_.address().toStdString();
    }

    /// Takes the bus off the processors, and gives it back.
    void hold(bool held) {
        ASSERT_EQ(::kill(static_cast<pid_t>(bus_.processId()), held ? SIGSTOP : SIGCONT), 0);
    }

    std::string address_;
};

TEST_F(SystemdQueryTest, WithoutABusNoAgentIsLoaded) {
    for (const char* const address : {"", "unix:path=/nowhere/at/all", "nonsense", "autolaunch:"}) {
        EXPECT_FALSE(SystemdQuery(address).isLoaded(kAskedLabel)) << address;
    }
}

TEST_F(SystemdQueryTest, WithoutAManagerNoAgentIsLoadedAndNoneIsStarted) {
    const QTemporaryDir folder;
    const QString mark = folder.filePath(QStringLiteral("started"));
    ASSERT_TRUE(bus_.offer(kName, "/bin/mkdir " + mark.toUtf8()));
    QDBusMessage reload = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig"));
    ASSERT_EQ(connection_.call(reload).type(), QDBusMessage::ReplyMessage);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(SystemdQuery(address_).isLoaded(kAskedLabel));
    EXPECT_LT(timer.elapsed(), kBrief);
    EXPECT_FALSE(QFile::exists(mark));
    QDBusMessage start = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
    start << kName << 0U;
    ASSERT_TRUE(connection_.send(start));
    EXPECT_TRUE(runUntil([&] { return QFile::exists(mark); })) << "as it is for who asks for that";
}

TEST_F(SystemdQueryTest, TheManagerIsAskedEachTimeWithTheSameAnswerAsInAProgramWithALoop) {
    startManager();
    const QString timer = QStringLiteral("asked.timer");
    SystemdQuery query(address_);
    SystemdAgents agents(connection_);
    struct Row {
        const char* name;
        UnitState service;
        QStringList waiters;
        UnitState waiter;
        bool loaded;
    };
    const auto state = [](const char* active, const char* sub) {
        return UnitState{QString::fromLatin1(active), QString::fromLatin1(sub)};
    };
    for (const Row& row : std::vector<Row>{
             {"has a file", {}, {}, {}, false},
             {"runs", state("active", "running"), {}, {}, true},
             {"has failed", state("failed", "failed"), {}, {}, false},
             {"a timer waits", {}, {timer}, state("active", "waiting"), true},
             {"the timer has elapsed", {}, {timer}, state("active", "elapsed"), false},
             {"a socket waits",
              {},
              {QStringLiteral("asked.socket")},
              state("active", "waiting"),
              false},
             {"a path too",
              {},
              {QStringLiteral("asked.socket"), QStringLiteral("asked.path")},
              state("active", "waiting"),
              true},
             {"is masked while a timer waits",
              {QStringLiteral("inactive"), QStringLiteral("dead"), QStringLiteral("masked")},
              {timer},
              state("active", "waiting"),
              false},
         }) {
        manager_.set(kAskedUnit, row.service);
        manager_.setTriggeredBy(kAskedUnit, row.waiters);
        for (const QString& waiter : row.waiters) {
            manager_.set(waiter, row.waiter);
        }
        EXPECT_EQ(query.isLoaded(kAskedLabel), row.loaded) << row.name;
        EXPECT_EQ(agents.isLoaded(kAskedLabel), row.loaded) << row.name;
        EXPECT_FALSE(query.isLoaded("com.example.asked")) << row.name << ", another agent";
    }
    EXPECT_EQ(manager_.subscriptions, 0) << "nobody would take the signals in";
}

TEST_F(SystemdQueryTest, TheConnectionIsKeptFromOneQuestionToTheNext) {
    startManager();
    manager_.setLoaded(kAskedUnit, true);
    SystemdQuery query(address_);
    const auto names = [&] { return connection_.interface()->registeredServiceNames().value(); };
    const QStringList before = names();
    EXPECT_TRUE(query.isLoaded(kAskedLabel));
    const QStringList connected = names();
    EXPECT_EQ(connected.size(), before.size() + 1);
    EXPECT_TRUE(query.isLoaded(kAskedLabel));
    EXPECT_FALSE(query.isLoaded("com.example.asked"));
    EXPECT_EQ(names(), connected);
}

TEST_F(SystemdQueryTest, ABusThatIsReplacedIsAskedAtTheNextQuestion) {
    // What the address names is changed under it, as by the next session at a usual place.
    const QTemporaryDir folder;
    const std::filesystem::path place = folder.filePath(QStringLiteral("bus")).toStdString();
    const auto moveTo = [&](const PrivateBus& bus) {
        const QString path = bus.address().section(QStringLiteral("path="), 1).section(u',', 0, 0);
        std::filesystem::remove(place);
        std::filesystem::create_symlink(path.toStdString(), place);
    };
    startManager();
    manager_.setLoaded(kAskedUnit, true);
    moveTo(bus_);
    SystemdQuery query("unix:path=" + place.string());
    EXPECT_TRUE(query.isLoaded(kAskedLabel));
    bus_.stop();
    EXPECT_FALSE(query.isLoaded(kAskedLabel)) << "while there is none";
    {
        PrivateBus next;
        moveTo(next);
        startManager(next);
        EXPECT_TRUE(query.isLoaded(kAskedLabel));
        next.stop();
    }
    PrivateBus last;
    moveTo(last);
    startManager(last);
    EXPECT_TRUE(query.isLoaded(kAskedLabel)) << "where no question fell between the two";
}

TEST_F(SystemdQueryTest, AManagerThatHangsIsWaitedForOnlyBriefly) {
    startManager();
    manager_.setLoaded(kAskedUnit, true);
    SystemdQuery query(address_);
    EXPECT_TRUE(query.isLoaded(kAskedLabel));
    manager_.answers = false;
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(query.isLoaded(kAskedLabel));
    EXPECT_LT(timer.elapsed(), kBrief);
    manager_.answers = true;
    EXPECT_TRUE(query.isLoaded(kAskedLabel)) << "once it goes on";
}

TEST_F(SystemdQueryTest, ABusThatHangsIsWaitedForOnlyBriefly) {
    startManager();
    manager_.setLoaded(kAskedUnit, true);
    SystemdQuery fresh(address_);
    SystemdQuery connected(address_);
    EXPECT_TRUE(connected.isLoaded(kAskedLabel));
    hold(true);
    for (SystemdQuery* const query : {&fresh, &connected}) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_FALSE(query->isLoaded(kAskedLabel));
        EXPECT_LT(timer.elapsed(), kBrief) << (query == &fresh ? "fresh" : "connected");
    }
    hold(false);
    EXPECT_TRUE(fresh.isLoaded(kAskedLabel)) << "once it goes on";
    EXPECT_TRUE(connected.isLoaded(kAskedLabel)) << "once it goes on";
}

TEST_F(SystemdQueryTest, AnInvalidLabelIsNotLoaded) {
    startManager();
    manager_.setLoaded(kAskedUnit, true);
    SystemdQuery query(address_);
    for (const char* label : {"", "a b", "\xff\xfe", "a/../b"}) {
        EXPECT_FALSE(query.isLoaded(label));
    }
    EXPECT_TRUE(query.isLoaded(kAskedLabel)) << "afterwards";
}

} // namespace
} // namespace korvel::platform
