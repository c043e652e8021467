#include "platform/linux/session/systemd_answers.h"

#include <QDBusMessage>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(SystemdUnit, AServiceIsLoadedWhileItIsInChargeOrWaitedFor) {
    struct Row {
        const char* name;
        const char *load, *active, *sub;                          // the service
        std::vector<std::pair<const char*, const char*>> waiters; // active and sub state
        bool loaded;
    };
    for (const Row& row : std::vector<Row>{
             {"runs", "loaded", "active", "running", {}, true},
             {"has done its work and remains", "loaded", "active", "exited", {}, true},
             {"is started", "loaded", "activating", "start-pre", {}, true},
             {"between two attempts", "loaded", "activating", "auto-restart", {}, true},
             {"reads its configuration", "loaded", "reloading", "reload", {}, true},
             {"takes in new files", "loaded", "refreshing", "refresh", {}, true},
             {"its file was removed, it runs on", "not-found", "active", "running", {}, true},
             {"was masked, it runs on", "masked", "active", "running", {}, true},
             {"is stopped", "loaded", "deactivating", "stop-sigterm", {}, false},
             {"has a file, no more", "loaded", "inactive", "dead", {}, false},
             {"has failed", "loaded", "failed", "failed", {}, false},
             {"is cleaned", "loaded", "maintenance", "cleaning", {}, false},
             {"is masked", "masked", "inactive", "dead", {}, false},
             {"has no file", "not-found", "inactive", "dead", {}, false},
             {"a timer waits", "loaded", "inactive", "dead", {{"active", "waiting"}}, true},
             {"its timer has started it",
              "loaded",
              "failed",
              "failed",
              {{"active", "running"}},
              true},
             {"one of two",
              "loaded",
              "inactive",
              "dead",
              {{"inactive", "dead"}, {"active", "waiting"}},
              true},
             {"its timer has elapsed",
              "loaded",
              "inactive",
              "dead",
              {{"active", "elapsed"}},
              false},
             {"its timer was not started",
              "loaded",
              "inactive",
              "dead",
              {{"inactive", "dead"}},
              false},
             {"its timer has failed", "loaded", "inactive", "dead", {{"failed", "failed"}}, false},
             {"waited for, but masked",
              "masked",
              "inactive",
              "dead",
              {{"active", "waiting"}},
              false},
             {"waited for without a file",
              "not-found",
              "inactive",
              "dead",
              {{"active", "waiting"}},
              false},
             {"waited for, but its file is broken",
              "bad-setting",
              "inactive",
              "dead",
              {{"active", "waiting"}},
              false},
         }) {
        std::vector<SystemdUnit> units(1);
        units[0].loadState = row.load;
        units[0].activeState = row.active;
        units[0].subState = row.sub;
        for (const auto& [active, sub] : row.waiters) {
            units.emplace_back();
            units.back().activeState = active;
            units.back().subState = sub;
        }
        EXPECT_EQ(isLoaded(units), row.loaded) << row.name;
    }
    EXPECT_FALSE(isLoaded({})) << "no answer";
}

TEST(SystemdUnit, AnAnswerThatIsAnErrorNamesNoUnit) {
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("a.b"), QStringLiteral("/"), QStringLiteral("a.b"), QStringLiteral("C"));
    const QDBusMessage error = call.createErrorReply(QDBusError::Failed, QStringLiteral("no"));
    EXPECT_TRUE(unitsIn(error).empty());
    EXPECT_TRUE(waitersIn(error).empty());
    const QDBusMessage other = call.createReply(QStringLiteral("text"));
    EXPECT_TRUE(unitsIn(other).empty());
    EXPECT_TRUE(waitersIn(other).empty());
}

TEST(SystemdUnit, AUnitHasItsObjectAtItsEscapedName) {
    for (const auto& [name, path] : std::vector<std::pair<const char*, const char*>>{
             {"dbus.service", "dbus_2eservice"},
             {"com.example.a-b_c.service", "com_2eexample_2ea_2db_5fc_2eservice"},
             {"0a1.timer", "_30a1_2etimer"},
             {"\xc3\xa9@x.path", "_c3_a9_40x_2epath"},
         }) {
        EXPECT_EQ(unitPath(std::string_view(name)),
                  std::string("/org/freedesktop/systemd1/unit/") + path);
        EXPECT_EQ(unitPath(QString::fromUtf8(name)).toStdString(),
                  unitPath(std::string_view(name)));
    }
}

} // namespace
} // namespace korvel::platform
