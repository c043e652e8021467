// Against the manager on the session bus; run by systemd_user_test.

#include <chrono>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/session_bus.h"
#include "platform/linux/session/systemd_agents.h"
#include "platform/linux/session/systemd_query.h"

namespace korvel::platform {
namespace {

const char* const kLabel = "com.example.agent.of.test";
const QString kUnit = QStringLiteral("com.example.agent.of.test.service");
constexpr std::chrono::milliseconds kSettle(100);
constexpr int kQuiet = 500; // milliseconds; in which the answer to a change would have come

/// What the manager's own tool prints.
std::string systemctl(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("systemctl"), QStringList(QStringLiteral("--user")) + arguments);
    tool.waitForFinished();
    return tool.readAllStandardOutput().trimmed().toStdString();
}

void control(const char* verb, const char* unit) {
    systemctl({QString::fromLatin1(verb), QString::fromLatin1(unit)});
}

void reload() {
    systemctl({QStringLiteral("daemon-reload")});
}

void install(const QString& unit, const QByteArray& text) {
    QFile file(QDir::homePath() + QStringLiteral("/.config/systemd/user/") + unit);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

/// Counts how often the manager takes a unit into memory.
class Counter final : public QObject {
    Q_OBJECT

  public:
    explicit Counter(QString unit) : unit_(std::move(unit)) {
        QDBusConnection::sessionBus().connect(
            QString(), QStringLiteral("/org/freedesktop/systemd1"),
            QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("UnitNew"), this,
            SLOT(unitNew(QString)));
    }

    Q_SLOT void unitNew(const QString& unit) { count += unit == unit_ ? 1 : 0; }

    int count = 0;

  private:
    const QString unit_;
};

class UsersManager : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ASSERT_TRUE(runFor(10000, [] {
            return QDBusConnection::sessionBus().interface()->isServiceRegistered(
                QStringLiteral("org.freedesktop.systemd1"));
        })) << "the manager did not come up";
    }
};

TEST_F(UsersManager, AnAgentIsLoadedWhileTheManagerHasItInCharge) {
    SystemdAgents agents(sessionBusIfThere(), kSettle);
    SystemdQuery query;
    EXPECT_FALSE(agents.isLoaded(kLabel));
    EXPECT_TRUE(query.isLoaded("dbus")) << "as a program without a loop asks";
    EXPECT_TRUE(agents.isLoaded("dbus")) << "runs beside the manager";
    EXPECT_FALSE(agents.isLoaded("systemd-exit")) << "is installed with the manager";
    // What the program does in its event loop, from here on.
    EXPECT_FALSE(runFor(kQuiet, [&] { return agents.isLoaded(kLabel); }));

    install(kUnit, "[Service]\nExecStart=/bin/sleep 1000\nExecReload=/bin/sleep 2\n");
    install(QStringLiteral("other.timer"),
            "[Timer]\nOnActiveSec=1000\nUnit=com.example.agent.of.test.service\n");
    install(QStringLiteral("brief.timer"),
            "[Timer]\nOnActiveSec=1\nAccuracySec=1ms\nUnit=com.example.agent.of.test.service\n");
    install(QStringLiteral("other.path"),
            "[Path]\nPathExists=/nowhere/at/all\nUnit=com.example.agent.of.test.service\n");
    install(QStringLiteral("other.socket"), "[Socket]\nListenStream=%t/of-test\n"
                                            "Service=com.example.agent.of.test.service\n");
    struct Step {
        const char* name;
        std::function<void()> act;
        bool loaded;
        const char *unit, *state; // by the manager's tool
    };
    const auto broken = [] {
        install(kUnit, "[Service]\nExecStart=/bin/false\nRestart=on-failure\nRestartSec=1000\n");
        reload();
    };
    for (const Step& step : std::vector<Step>{
             {"installed", reload, false, kLabel, "inactive"},
             {"started", [] { control("start", kLabel); }, true, kLabel, "active"},
             {"taken over by a reloaded manager", reload, true, kLabel, "active"},
             {"stopped", [] { control("stop", kLabel); }, false, kLabel, "inactive"},
             {"a timer waits", [] { control("start", "other.timer"); }, true, "other.timer",
              "active"},
             {"no timer waits", [] { control("stop", "other.timer"); }, false, "other.timer",
              "inactive"},
             {"a path is watched", [] { control("start", "other.path"); }, true, "other.path",
              "active"},
             {"no path is watched", [] { control("stop", "other.path"); }, false, "other.path",
              "inactive"},
             {"a socket listens", [] { control("start", "other.socket"); }, false, "other.socket",
              "active"},
             {"nothing listens", [] { control("stop", "other.socket"); }, false, "other.socket",
              "inactive"},
             {"a timer is about to elapse", [] { control("start", "brief.timer"); }, true,
              "brief.timer", "active"},
             {"it has, and the service runs", [] { runFor(1500, [] { return false; }); }, true,
              kLabel, "active"},
             {"the service is stopped, the timer is over", [] { control("stop", kLabel); }, false,
              "brief.timer", "active"},
             {"started again", [] { control("start", kLabel); }, true, kLabel, "active"},
             {"killed",
              [] {
                  systemctl({QStringLiteral("kill"), QStringLiteral("-sKILL"), kUnit});
              },
              false, kLabel, "failed"},
             {"forgotten", [] { control("reset-failed", kLabel); }, false, kLabel, "inactive"},
             {"masked while a timer waits",
              [] {
                  control("start", "other.timer");
                  QFile::remove(QDir::homePath() + QStringLiteral("/.config/systemd/user/") +
                                kUnit);
                  control("mask", kLabel);
              },
              false, "other.timer", "active"},
             {"unmasked", [&] { control("unmask", kLabel); }, false, "other.timer", "active"},
             {"it has a file again", broken, true, "other.timer", "active"},
             {"between two attempts",
              [] {
                  control("stop", "other.timer");
                  control("start", kLabel);
              },
              true, kLabel, "activating"},
             {"given up", [] { control("stop", kLabel); }, false, kLabel, "inactive"},
         }) {
        const bool before = agents.isLoaded(kLabel);
        step.act();
        const bool changed = runFor(before == step.loaded ? kQuiet : 5000,
                                    [&] { return agents.isLoaded(kLabel) != before; });
        EXPECT_EQ(changed, before != step.loaded) << step.name;
        EXPECT_EQ(agents.isLoaded(kLabel), step.loaded) << step.name;
        EXPECT_EQ(SystemdAgents().isLoaded(kLabel), step.loaded) << step.name << ", asked anew";
        EXPECT_EQ(query.isLoaded(kLabel), step.loaded) << step.name << ", without a loop";
        EXPECT_EQ(systemctl({QStringLiteral("is-active"), QString::fromLatin1(step.unit)}),
                  step.state)
            << step.name;
    }
}

TEST_F(UsersManager, AnAgentIsFollowedUnderItsAlias) {
    install(QStringLiteral("primary.service"), "[Service]\nExecStart=/bin/sleep 1000\n");
    const QString folder = QDir::homePath() + QStringLiteral("/.config/systemd/user/");
    ASSERT_TRUE(QFile::link(folder + QStringLiteral("primary.service"),
                            folder + QStringLiteral("an.alias.service")));
    reload();
    SystemdAgents agents(sessionBusIfThere(), kSettle);
    EXPECT_FALSE(runFor(kQuiet, [&] { return agents.isLoaded("an.alias"); }));
    for (const bool loaded : {true, false, true, false}) {
        control(loaded ? "start" : "stop", "primary.service");
        EXPECT_TRUE(runFor(5000, [&] { return agents.isLoaded("an.alias") == loaded; })) << loaded;
        EXPECT_EQ(SystemdQuery().isLoaded("an.alias"), loaded) << "without a loop";
    }
}

TEST_F(UsersManager, NoQuestionFollowsAnother) {
    // The worst case: a service that is not in memory, which every question takes in and drops.
    const QString unit = QStringLiteral("no.question.service");
    install(unit, "[Service]\nExecStart=/bin/sleep 1000\n");
    SystemdAgents agents(sessionBusIfThere(), kSettle);
    Counter counter(unit);
    EXPECT_FALSE(runFor(kQuiet, [&] { return agents.isLoaded("no.question"); }));
    for (const auto& [name, act, most] : std::vector<std::tuple<const char*, void (*)(), int>>{
             {"nothing", [] {}, 0},
             {"another's question", [] { control("show", "no.question.service"); }, 1},
             {"a reload, with our two questions", reload, 2},
         }) {
        counter.count = 0;
        act();
        EXPECT_FALSE(runFor(4 * kQuiet, [&, limit = most] { return counter.count > limit; }))
            << name;
        EXPECT_EQ(counter.count, most) << name;
    }
}

} // namespace
} // namespace korvel::platform

#include "systemd_user_check.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
