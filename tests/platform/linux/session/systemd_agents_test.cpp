#include "platform/linux/session/systemd_agents.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_with_manager.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/session_bus.h"
#include "platform/linux/session/systemd_answers.h"

namespace korvel::platform {
namespace {

const char* const kLabel = "com.example.agent.of.test";
constexpr std::chrono::milliseconds kSettle(40);
constexpr int kQuiet = 250; // milliseconds; after which nothing more is to be expected
const QString kUnit = QStringLiteral("com.example.agent.of.test.service");
const QString kTimer = QStringLiteral("other.timer");
const QString kActive = QStringLiteral("active");
const QString kUnits = QStringLiteral("/org/freedesktop/systemd1/unit/");

class SystemdAgentsTest : public BusWithManager {
  protected:
    /// Gives the unit another state, and says so as the manager does.
    void change(const QString& unit, const QString& active, const QString& sub) {
        manager_.set(unit, {active, sub});
        tell(unit);
    }

    void tell(const QString& unit,
              const QString& interface = QStringLiteral("org.freedesktop.systemd1.Unit")) {
        inManager([&] {
            manager_.tellState(QDBusConnection(QStringLiteral("manager") + suffix_), unit,
                               interface);
        });
    }

    /// `isLoaded` as it answers while an event loop runs.
    static bool inLoop(SystemdAgents& agents) {
        bool loaded = false;
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [&] {
            loaded = agents.isLoaded(kLabel);
            loop.quit();
        });
        loop.exec();
        return loaded;
    }

    /// What the program has asked the bus to send.
    QStringList matchRules() const {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus.Debug.Stats"), QStringLiteral("GetAllMatchRules"));
        const QDBusMessage answer = connection_.call(call);
        const auto all = answer.arguments().value(0).value<QDBusArgument>();
        QMap<QString, QStringList> rules;
        all >> rules;
        return rules.value(connection_.baseService());
    }
};

TEST_F(SystemdAgentsTest, WithoutABusNoAgentIsLoaded) {
    SystemdAgents agents(QDBusConnection(QStringLiteral("never connected")));
    EXPECT_FALSE(agents.isLoaded(kLabel));
    EXPECT_FALSE(inLoop(agents));
}

TEST_F(SystemdAgentsTest, WithoutAManagerNoAgentIsLoaded) {
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(agents.isLoaded(kLabel));
    EXPECT_FALSE(inLoop(agents));
}

TEST_F(SystemdAgentsTest, TheManagerOfABusThatIsBackIsAskedAnewAndFollowed) {
    startManager();
    manager_.setLoaded(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_TRUE(inLoop(agents));
    const PrivateBus second;
    manager_.setLoaded(kUnit, false);
    startManager(second);
    QDBusConnection::disconnectFromBus(connection_.name());
    agents.useBus(second.connect(connection_.name())); // the program's connection keeps its name
    EXPECT_FALSE(inLoop(agents));
    EXPECT_TRUE(runUntil([&] { return manager_.subscriptions == 2; }));
    manager_.setLoaded(kUnit, true);
    inManager([&] { emit manager_.UnitFilesChanged(); });
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); })) << "what changes there is seen";
    stopManager();
    EXPECT_TRUE(runUntil([&] { return !agents.isLoaded(kLabel); })) << "and that it goes";
}

TEST_F(SystemdAgentsTest, WithoutARunningLoopTheManagerIsAskedEachTime) {
    startManager();
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(agents.isLoaded(kLabel));
    manager_.setLoaded(kUnit, true);
    EXPECT_TRUE(agents.isLoaded(kLabel));
    EXPECT_FALSE(agents.isLoaded("com.example.agent.of")) << "another agent";
    manager_.setLoaded(kUnit, false);
    EXPECT_FALSE(agents.isLoaded(kLabel));
    EXPECT_EQ(manager_.questions, 4);
    EXPECT_EQ(manager_.subscriptions, 0) << "nobody would take the signals in";
}

TEST_F(SystemdAgentsTest, InARunningLoopTheManagerIsAskedOnceAndThenLeftAlone) {
    startManager();
    manager_.setLoaded(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_TRUE(inLoop(agents));
    EXPECT_TRUE(runUntil([&] { return manager_.subscriptions == 1; }));
    // The question's own signals settle; they lead to no further question.
    EXPECT_FALSE(runFor(kQuiet, [&] { return !agents.isLoaded(kLabel); }));
    EXPECT_EQ(manager_.questions, 1);
}

TEST_F(SystemdAgentsTest, AnAnswerFromBeforeTheLoopIsKeptRight) {
    startManager();
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(agents.isLoaded(kLabel));
    manager_.setLoaded(kUnit, true);
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); }));
}

TEST_F(SystemdAgentsTest, ChangesAreFollowedBySignals) {
    startManager();
    manager_.setLoaded(kUnit, false);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(inLoop(agents));
    struct Change {
        const char* name;
        std::function<void()> signal;
    };
    const QDBusObjectPath path(QStringLiteral("/unit"));
    bool loaded = false;
    for (const Change& change : std::vector<Change>{
             {"unit files changed", [&] { emit manager_.UnitFilesChanged(); }},
             {"the manager was reloaded", [&] { emit manager_.Reloading(false); }},
             {"the unit was made",
              [&] {
                  manager_.setInMemory(kUnit, true);
                  emit manager_.UnitNew(kUnit, path);
              }},
             {"the unit was dropped",
              [&] {
                  manager_.setInMemory(kUnit, false);
                  emit manager_.UnitRemoved(kUnit, path);
              }},
         }) {
        loaded = !loaded;
        manager_.setLoaded(kUnit, loaded);
        inManager(change.signal);
        EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel) == loaded; })) << change.name;
    }
}

TEST_F(SystemdAgentsTest, TheStateOfTheServiceIsFollowed) {
    startManager();
    manager_.set(kUnit, {});
    manager_.setInMemory(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(inLoop(agents));
    struct Step {
        const char *active, *sub;
        bool loaded;
    };
    for (const Step& step : std::vector<Step>{
             {"activating", "start", true},
             {"deactivating", "stop-sigterm", false},
             {"active", "running", true},
             {"failed", "failed", false},
             {"activating", "auto-restart", true},
             {"inactive", "dead", false},
         }) {
        change(kUnit, QString::fromLatin1(step.active), QString::fromLatin1(step.sub));
        EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel) == step.loaded; }))
            << step.active;
    }
}

TEST_F(SystemdAgentsTest, WhatTriggersTheServiceIsFollowedUnderAnyName) {
    startManager();
    for (const char* const name : {"other.timer", "other.path"}) {
        const QString waiter = QString::fromLatin1(name);
        manager_.set(kUnit, {});
        manager_.setInMemory(kUnit, true);
        manager_.setInMemory(waiter, true);
        manager_.setTriggeredBy(kUnit, {waiter});
        manager_.set(waiter, {kActive, QStringLiteral("waiting")});
        SystemdAgents agents(connection_, kSettle);
        EXPECT_TRUE(agents.isLoaded(kLabel)) << name << " without a loop";
        EXPECT_TRUE(inLoop(agents)) << name;
        for (const auto& [active, sub, loaded] : std::vector<std::tuple<QString, QString, bool>>{
                 {QStringLiteral("inactive"), QStringLiteral("dead"), false},
                 {kActive, QStringLiteral("waiting"), true},
                 {kActive, QStringLiteral("elapsed"), false},
                 {kActive, QStringLiteral("running"), true},
             }) {
            change(waiter, active, sub);
            EXPECT_TRUE(runUntil([&, wanted = loaded] {
                return agents.isLoaded(kLabel) == wanted;
            })) << name
                << ' ' << sub.toStdString();
        }
    }
}

TEST_F(SystemdAgentsTest, AChangeBeforeTheSignalsOfATimerAreAskedForIsFound) {
    startManager();
    manager_.set(kUnit, {});
    manager_.setInMemory(kUnit, true);
    manager_.setTriggeredBy(kUnit, {kTimer});
    manager_.set(kTimer, {kActive, QStringLiteral("waiting")});
    // Between what the answer says and the answer itself the timer is stopped.
    manager_.takenIn = [this](const QString& unit) {
        manager_.setInMemory(unit, true);
        manager_.set(unit, {});
        manager_.tellState(QDBusConnection(QStringLiteral("manager") + suffix_), unit);
    };
    SystemdAgents agents(connection_, kSettle);
    manager_.subscriptions = 1; // another program's
    EXPECT_TRUE(inLoop(agents));
    EXPECT_TRUE(runUntil([&] { return !agents.isLoaded(kLabel); }));
}

TEST_F(SystemdAgentsTest, ASocketOrMountThatTriggersTheServiceDoesNotWaitForIt) {
    startManager();
    const QStringList others{QStringLiteral("a.socket"), QStringLiteral("b.automount")};
    manager_.set(kUnit, {});
    manager_.setTriggeredBy(kUnit, others);
    for (const QString& other : others) {
        manager_.set(other, {kActive, QStringLiteral("waiting")});
    }
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(agents.isLoaded(kLabel));
}

TEST_F(SystemdAgentsTest, ATimerThatComesToAStoppedServiceIsFound) {
    startManager();
    manager_.set(kUnit, {});
    manager_.setInMemory(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(inLoop(agents));
    runUntil([&] { return manager_.subscriptions == 1; });
    // The service tells of it, though its own state stays.
    manager_.setInMemory(kTimer, true);
    manager_.setTriggeredBy(kUnit, {kTimer});
    manager_.set(kTimer, {kActive, QStringLiteral("waiting")});
    tell(kUnit);
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); }));
}

TEST_F(SystemdAgentsTest, AServiceThatRunsMayTellOfItsProgressWithoutAQuestion) {
    startManager();
    manager_.setLoaded(kUnit, true);
    manager_.setInMemory(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_TRUE(inLoop(agents));
    runUntil([&] { return manager_.subscriptions == 1; });
    const int before = manager_.questionsOnPaths;
    for (int i = 0; i < 20; ++i) {
        tell(kUnit);
    }
    EXPECT_FALSE(runFor(kQuiet, [&] { return manager_.questionsOnPaths > before; }));
}

TEST_F(SystemdAgentsTest, AQuestionThatStirsTheServiceLeadsToNoOther) {
    startManager();
    manager_.set(kUnit, {});
    // As of one whose file wants its own timer: to load the one touches the other.
    manager_.takenIn = [this](const QString& unit) {
        manager_.tellState(QDBusConnection(QStringLiteral("manager") + suffix_), unit);
    };
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(inLoop(agents));
    runUntil([&] { return manager_.subscriptions == 1; });
    inManager([&] { emit manager_.UnitFilesChanged(); });
    const int before = manager_.questions;
    EXPECT_TRUE(runUntil([&] { return manager_.questions > before; }));
    EXPECT_FALSE(runFor(kQuiet, [&] { return manager_.questions > before + 1; }));
}

TEST_F(SystemdAgentsTest, TheBusIsAskedForTheSignalsOfTheseUnitsAlone) {
    startManager();
    manager_.set(kUnit, {});
    manager_.set(kTimer, {kActive, QStringLiteral("waiting")});
    manager_.setTriggeredBy(kUnit, {kTimer});
    SystemdAgents agents(connection_, kSettle);
    EXPECT_TRUE(inLoop(agents));
    const auto paths = [&] {
        QStringList found;
        for (const QString& rule : matchRules()) {
            const bool ofOneUnit = rule.contains(QStringLiteral("path='") + kUnits) ||
                                   rule.contains(QStringLiteral("arg0='") + kUnit) ||
                                   rule.contains(QStringLiteral("arg0='") + kName + u'\'');
            const bool ofAll = rule.contains(QStringLiteral("member='Reloading'")) ||
                               rule.contains(QStringLiteral("member='UnitFilesChanged'"));
            EXPECT_TRUE(ofOneUnit || ofAll || rule.contains(QStringLiteral("NameAcquired")) ||
                        rule.contains(QStringLiteral("NameLost")))
                << rule.toStdString();
            if (rule.contains(QStringLiteral("PropertiesChanged"))) {
                EXPECT_TRUE(rule.contains(QStringLiteral("arg0='org.freedesktop.systemd1.Unit'")))
                    << rule.toStdString();
                found << rule.section(QStringLiteral("path='"), 1).section(u'\'', 0, 0);
            }
        }
        found.sort();
        return found;
    };
    const QStringList both{unitPath(kUnit), unitPath(kTimer)};
    EXPECT_TRUE(runUntil([&] { return paths() == both; })) << paths().join(u' ').toStdString();
    manager_.setTriggeredBy(kUnit, {});
    inManager([&] { emit manager_.Reloading(false); });
    EXPECT_TRUE(runUntil([&] { return paths() == QStringList(unitPath(kUnit)); }));
}

TEST_F(SystemdAgentsTest, AUnitThatIsTakenInAndDroppedAgainLeadsToNoQuestion) {
    startManager();
    SystemdAgents agents(connection_, kSettle);
    inLoop(agents);
    runUntil([&] { return manager_.subscriptions == 1; });
    // A question that is asked by another program has the same signals.
    inManager([&] { manager_.ListUnitsByNames({kUnit}); });
    const int before = manager_.questions;
    EXPECT_FALSE(runFor(kQuiet, [&] { return manager_.questions > before; }));
    // And one of our own, after a change, ends after one round.
    manager_.setLoaded(kUnit, true);
    inManager([&] { emit manager_.UnitFilesChanged(); });
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); }));
    const int after = manager_.questions;
    EXPECT_FALSE(runFor(kQuiet, [&] { return manager_.questions > after; }));
}

TEST_F(SystemdAgentsTest, OtherUnitsSignalsLeadToNoQuestion) {
    startManager();
    SystemdAgents agents(connection_, kSettle);
    inLoop(agents);
    runUntil([&] { return manager_.subscriptions == 1; });
    const int before = manager_.questions;
    const QDBusObjectPath path(QStringLiteral("/unit"));
    for (int i = 0; i < 20; ++i) {
        inManager([&] { emit manager_.UnitNew(QStringLiteral("other.service"), path); });
    }
    EXPECT_FALSE(runFor(kQuiet, [&] { return manager_.questions > before; }));
}

TEST_F(SystemdAgentsTest, AManagerThatGoesAndComesIsFollowed) {
    manager_.setLoaded(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_FALSE(inLoop(agents));
    startManager();
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); }));
    stopManager();
    EXPECT_TRUE(runUntil([&] { return !agents.isLoaded(kLabel); }));
    startManager();
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); }));
}

TEST_F(SystemdAgentsTest, AManagerThatHangsIsWaitedForOnlyBriefly) {
    startManager();
    manager_.setLoaded(kUnit, true);
    manager_.answers = false;
    SystemdAgents agents(connection_, kSettle);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(inLoop(agents));
    EXPECT_LT(timer.elapsed(), 1000);
    timer.start();
    EXPECT_FALSE(inLoop(agents));
    EXPECT_LT(timer.elapsed(), 100) << "the second time not at all";
    manager_.answers = true;
    EXPECT_TRUE(runUntil([&] { return agents.isLoaded(kLabel); })) << "once it goes on";
}

TEST_F(SystemdAgentsTest, ABusThatHangsIsWaitedForOnlyBriefly) {
    SystemdAgents agents(connection_, kSettle);
    ASSERT_EQ(::kill(static_cast<pid_t>(bus_.processId()), SIGSTOP), 0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(inLoop(agents));
    EXPECT_LT(timer.elapsed(), 1000);
    ASSERT_EQ(::kill(static_cast<pid_t>(bus_.processId()), SIGCONT), 0);
}

TEST_F(SystemdAgentsTest, ABusThatGoesAwayLeavesNoAgentLoaded) {
    startManager();
    manager_.setLoaded(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    EXPECT_TRUE(inLoop(agents));
    bus_.stop();
    EXPECT_TRUE(runUntil([&] { return !agents.isLoaded(kLabel); }));
}

TEST_F(SystemdAgentsTest, AnotherThreadIsToldWhatIsKnown) {
    startManager();
    manager_.setLoaded(kUnit, true);
    SystemdAgents agents(connection_, kSettle);
    bool before = true;
    std::thread([&] { before = agents.isLoaded(kLabel); }).join();
    EXPECT_FALSE(before) << "not asked yet";
    EXPECT_TRUE(inLoop(agents));
    bool after = false;
    std::thread([&] { after = agents.isLoaded(kLabel); }).join();
    EXPECT_TRUE(after);
}

TEST_F(SystemdAgentsTest, AnInvalidLabelIsNotLoaded) {
    startManager();
    SystemdAgents agents(connection_, kSettle);
    for (const char* label : {"", "a b", "\xff\xfe", "a/../b"}) {
        EXPECT_FALSE(agents.isLoaded(label));
    }
}

TEST(UserBus, WithoutAnAddressNoneIsStarted) {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nowhere/at/all");
    EXPECT_FALSE(sessionBusIfThere().isConnected());
    if (!address.isNull()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    }
    if (runtime.isNull()) {
        qunsetenv("XDG_RUNTIME_DIR");
    } else {
        qputenv("XDG_RUNTIME_DIR", runtime);
    }
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
