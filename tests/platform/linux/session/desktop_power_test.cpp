#include "platform/linux/session/desktop_power.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/fake_power_service.h"
#include "platform/linux/session/logind_power.h"
#include "platform/linux/session/session_power.h"

namespace korvel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QString kSession = QStringLiteral("org.gnome.SessionManager");
const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kPowerManagement = QStringLiteral("org.freedesktop.PowerManagement");
const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kLogind = QStringLiteral("org.freedesktop.login1");
const std::string kReason = "Test of keep awake";

constexpr auto kDisplay = PowerAssertionType::noDisplaySleep;
constexpr auto kSystem = PowerAssertionType::noIdleSleep;
constexpr int kQuiet = 250; // milliseconds; after which nothing more is to be expected

// What each is asked for.
const std::string kAskSession = "SessionManager Inhibit com.oxbrook.korvel 0 Test of keep awake 8";
const std::string kCheckSession = "SessionManager IsInhibited 8";
const std::string kAskScreenSaver = "ScreenSaver Inhibit com.oxbrook.korvel Test of keep awake";
const std::string kAskPowerManagement =
    "PowerManagement Inhibit com.oxbrook.korvel Test of keep awake";
const std::string kCheckPowerManagement = "PowerManagement HasInhibit";
const std::string kAskPortal = "Desktop Inhibit  8 {}";
const std::string kAskLogind = "login1 Inhibit idle Korvel Test of keep awake block";
const std::string kCheckLogind = "login1 ListInhibitors";

PrivateBus* privateBus = nullptr; ///< the session's and the system's; the library keeps its address

/// What the display server has itself.
class OwnMeans final : public PowerGrantor {
  public:
    struct State {
        bool grants = false;
        bool givesWay = true;
        int held = 0;
        bool over = false;
        std::function<void()> ended;
    };
    explicit OwnMeans(State& state) : state_(state) {}
    bool givesWay() const override { return state_.givesWay; }
    std::unique_ptr<PowerHold> take(const QString&, const Patience&,
                                    const std::function<void()>& ended) override {
        if (!state_.grants) {
            return nullptr;
        }
        state_.ended = ended;
        return std::make_unique<Hold>(state_);
    }

  private:
    class Hold final : public PowerHold {
      public:
        explicit Hold(State& state) : state_(state) { ++state_.held; }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold() override { --state_.held; }
        bool ended() const override { return state_.over; }

      private:
        State& state_;
    };

    State& state_;
};

class DesktopPowerTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(privateBus->address().isEmpty()) << "dbus-daemon could not be started";
    }

    std::unique_ptr<FakePowerService> start(const QString& service, Manner manner) {
        auto made = std::make_unique<FakePowerService>(*privateBus, calls_, service, manner);
        EXPECT_TRUE(made->isRegistered()) << service.toStdString();
        return made;
    }

    PowerGrantors grantors() {
        PowerGrantors made;
        made.display = sessionPowerGrantors();
        made.display.push_back(std::make_unique<OwnMeans>(own_));
        made.display.push_back(portalPowerGrantor());
        made.system.push_back(logindPowerGrantor());
        // A busy machine makes every answer slow; how long is waited has tests of its own.
        made.displayPatience = made.systemPatience = std::chrono::minutes(1);
        made.oneAnswer = std::chrono::seconds(10);
        return made;
    }

    /// What was asked since, once as many calls have come.
    std::vector<std::string> calls(qsizetype count) {
        runUntil([&] { return calls_.all().size() >= count; });
        return callsNow();
    }
    std::vector<std::string> callsNow() {
        std::vector<std::string> found;
        for (const QString& call : calls_.taken()) {
            found.push_back(call.toStdString());
        }
        return found;
    }

    PowerCalls calls_;
    OwnMeans::State own_;
};

struct Row {
    const char* rule;
    std::vector<std::pair<QString, Manner>> services;
    bool granted;
    std::vector<std::string> asked;
};

TEST_F(DesktopPowerTest, TheDisplayIsHeldByTheFirstOfTheListThatGrantsIt) {
    using enum Manner;
    const Row rows[] = {
        {"nobody is there", {}, false, {}},
        {"all are there",
         {{kSession, grants},
          {kScreenSaver, grants},
          {kPowerManagement, grants},
          {kPortal, grants}},
         true,
         {kAskSession, kCheckSession}},
        {"no session manager",
         {{kScreenSaver, grants}, {kPowerManagement, grants}, {kPortal, grants}},
         true,
         {kAskScreenSaver}},
        {"a power manager alone",
         {{kPowerManagement, grants}, {kPortal, grants}},
         true,
         {kAskPowerManagement, kCheckPowerManagement}},
        {"the portal is the last", {{kPortal, grants}}, true, {kAskPortal}},
        {"the first refuses",
         {{kSession, refuses}, {kScreenSaver, grants}},
         true,
         {kAskSession, kAskScreenSaver}},
        {"a name with nothing behind it",
         {{kScreenSaver, refuses}, {kPowerManagement, grants}},
         true,
         {kAskScreenSaver, kAskPowerManagement, kCheckPowerManagement}},
        {"the first lies and is given back",
         {{kSession, lies}, {kScreenSaver, grants}},
         true,
         {kAskSession, kCheckSession, "SessionManager Uninhibit 71", kAskScreenSaver}},
        {"the only one lies",
         {{kPowerManagement, lies}},
         false,
         {kAskPowerManagement, kCheckPowerManagement}},
        {"one that cannot say whether it holds is believed",
         {{kPowerManagement, cannotTell}, {kPortal, grants}},
         true,
         {kAskPowerManagement, kCheckPowerManagement}},
        {"all refuse",
         {{kSession, refuses},
          {kScreenSaver, refuses},
          {kPowerManagement, refuses},
          {kPortal, refuses}},
         false,
         {kAskSession, kAskScreenSaver, kAskPowerManagement, kAskPortal}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        std::vector<std::unique_ptr<FakePowerService>> services;
        for (const auto& [service, manner] : row.services) {
            services.push_back(start(service, manner));
        }
        DesktopPower power(grantors());
        callsNow(); // of the row before: what was given back
        EXPECT_EQ(power.create(kDisplay, kReason).has_value(), row.granted);
        EXPECT_EQ(callsNow(), row.asked);
        runFor(20, [] { return false; });
        EXPECT_THAT(callsNow(), IsEmpty()) << "asked again for nothing";
    }
}

TEST_F(DesktopPowerTest, WhatTheDisplayServerHasComesAfterTheServicesAndBeforeThePortal) {
    own_.grants = true;
    const auto portal = start(kPortal, Manner::grants);
    {
        DesktopPower power(grantors());
        EXPECT_TRUE(power.create(kDisplay, kReason));
        EXPECT_EQ(own_.held, 1);
    }
    EXPECT_EQ(own_.held, 0);
    const auto screenSaver = start(kScreenSaver, Manner::grants);
    DesktopPower power(grantors());
    EXPECT_TRUE(power.create(kDisplay, kReason));
    EXPECT_EQ(own_.held, 0);
    EXPECT_THAT(calls(1), ElementsAre(kAskScreenSaver));
}

TEST_F(DesktopPowerTest, ServicesThatHangAreNotAllWaitedFor) {
    std::vector<std::unique_ptr<FakePowerService>> services;
    for (const QString& name : {kSession, kScreenSaver, kPowerManagement, kPortal, kLogind}) {
        services.push_back(start(name, Manner::hangs));
    }
    PowerGrantors hurried = grantors();
    hurried.displayPatience = std::chrono::milliseconds(1500);
    hurried.systemPatience = hurried.oneAnswer = std::chrono::milliseconds(1000);
    DesktopPower power(std::move(hurried));
    EXPECT_FALSE(power.create(kDisplay, kReason));
    EXPECT_FALSE(power.create(kSystem, kReason));
    runUntil([&] { return calls_.all().contains(QString::fromStdString(kAskLogind)); });
    const std::vector<std::string> asked = callsNow();
    EXPECT_THAT(asked, testing::Contains(kAskSession));
    EXPECT_THAT(asked, testing::Contains(kAskLogind));
    EXPECT_THAT(asked, testing::Not(testing::Contains(kAskPowerManagement)))
        << "there is no time left for the third";
    EXPECT_THAT(asked, testing::Not(testing::Contains(kAskPortal)));
}

TEST(PowerGrantors, AreWaitedForASecondInAll) {
    const PowerGrantors usual;
    EXPECT_EQ(usual.displayPatience + usual.systemPatience, std::chrono::seconds(1));
    EXPECT_LT(usual.oneAnswer, usual.displayPatience) << "the second is asked too";
}

TEST_F(DesktopPowerTest, OneThatHangsLeavesTimeForTheNext) {
    const auto session = start(kSession, Manner::hangs);
    const auto screenSaver = start(kScreenSaver, Manner::grants);
    PowerGrantors hurried = grantors();
    hurried.oneAnswer = std::chrono::seconds(1);
    DesktopPower power(std::move(hurried));
    EXPECT_TRUE(power.create(kDisplay, kReason));
    EXPECT_THAT(calls(2), ElementsAre(kAskSession, kAskScreenSaver));
}

TEST(Patience, IsForOneAnswerAPartOfWhatIsLeft) {
    using std::chrono::milliseconds;
    EXPECT_EQ(Patience(std::chrono::hours(1), milliseconds(400)).next(), milliseconds(400));
    const Patience less(milliseconds(300), milliseconds(400));
    EXPECT_LE(less.next(), milliseconds(300));
    for (const milliseconds spent : {milliseconds(-5), milliseconds(0), milliseconds(15)}) {
        EXPECT_EQ(Patience(spent).next(), milliseconds(0)) << spent.count();
    }
}

TEST_F(DesktopPowerTest, AReleaseGivesBackWhatWasGrantedAndClosesTheConnection) {
    const struct {
        QString service;
        std::vector<std::string> release;
    } rows[] = {
        {kSession, {"SessionManager Uninhibit 71"}},
        {kScreenSaver, {"ScreenSaver UnInhibit 71"}},
        {kPowerManagement, {}},
        {kPortal, {"Desktop Close"}},
    };
    QDBusConnection bus = privateBus->connect(QStringLiteral("beside"));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.service.toStdString());
        const auto service = start(row.service, Manner::cannotTell);
        DesktopPower power(grantors());
        const auto id = power.create(kDisplay, kReason);
        ASSERT_TRUE(id);
        callsNow();
        const QString asker = service->asker();
        EXPECT_TRUE(bus.interface()->isServiceRegistered(asker)) << asker.toStdString();
        power.release(*id);
        EXPECT_EQ(callsNow(), row.release);
        EXPECT_TRUE(runUntil([&] { return !bus.interface()->isServiceRegistered(asker); }));
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("beside"));
}

TEST_F(DesktopPowerTest, EachHasACookieOfItsOwn) {
    const auto screenSaver = start(kScreenSaver, Manner::grants);
    DesktopPower power(grantors());
    const auto first = power.create(kDisplay, kReason);
    const auto second = power.create(kDisplay, kReason);
    ASSERT_TRUE(first && second);
    callsNow();
    power.release(*first);
    EXPECT_THAT(calls(1), ElementsAre("ScreenSaver UnInhibit 71"));
    power.release(*second);
    EXPECT_THAT(calls(1), ElementsAre("ScreenSaver UnInhibit 72"));
}

TEST_F(DesktopPowerTest, TheSystemIsHeldByLogindThatListsIt) {
    using enum Manner;
    const struct {
        Manner manner;
        bool granted;
    } rows[] = {{grants, true}, {cannotTell, true}, {lies, false}, {refuses, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.manner));
        const auto logind = start(kLogind, row.manner);
        DesktopPower power(grantors());
        const auto id = power.create(kSystem, kReason);
        EXPECT_EQ(id.has_value(), row.granted);
        EXPECT_EQ(logind->inhibitorIsClosed(), row.manner == lies);
        if (row.manner == refuses) {
            EXPECT_THAT(callsNow(), ElementsAre(kAskLogind));
            continue;
        }
        EXPECT_THAT(callsNow(), ElementsAre(kAskLogind, kCheckLogind));
        power.release(id.value_or(0));
        EXPECT_TRUE(runUntil([&] { return logind->inhibitorIsClosed(); }));
    }
}

TEST_F(DesktopPowerTest, EachOfTheTwoIsGrantedAlone) {
    {
        const auto logind = start(kLogind, Manner::grants);
        DesktopPower power(grantors());
        EXPECT_FALSE(power.create(kDisplay, kReason));
        EXPECT_TRUE(power.create(kSystem, kReason));
    }
    const auto screenSaver = start(kScreenSaver, Manner::grants);
    DesktopPower power(grantors());
    EXPECT_TRUE(power.create(kDisplay, kReason));
    EXPECT_FALSE(power.create(kSystem, kReason));
}

TEST_F(DesktopPowerTest, AServiceThatComesBackIsAskedAnew) {
    const struct {
        QString service;
        PowerAssertionType type;
        std::string asked;
    } rows[] = {{kSession, kDisplay, kAskSession},
                {kScreenSaver, kDisplay, kAskScreenSaver},
                {kPowerManagement, kDisplay, kAskPowerManagement},
                {kPortal, kDisplay, kAskPortal},
                {kLogind, kSystem, kAskLogind}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.asked);
        auto service = start(row.service, Manner::cannotTell);
        DesktopPower power(grantors());
        const auto id = power.create(row.type, kReason);
        ASSERT_TRUE(id);
        callsNow();
        service.reset();
        service = start(row.service, Manner::cannotTell);
        EXPECT_TRUE(runUntil([&] { return !calls_.all().isEmpty(); }));
        EXPECT_EQ(callsNow().front(), row.asked);
        power.release(*id);
        callsNow();
    }
}

TEST_F(DesktopPowerTest, WhenAGrantorGoesTheOthersAreAsked) {
    auto session = start(kSession, Manner::grants);
    const auto powerManagement = start(kPowerManagement, Manner::grants);
    DesktopPower power(grantors());
    const auto id = power.create(kDisplay, kReason);
    ASSERT_TRUE(id);
    callsNow();
    session.reset();
    EXPECT_THAT(calls(2), ElementsAre(kAskPowerManagement, kCheckPowerManagement));
    EXPECT_TRUE(power.holds(*id));
}

TEST_F(DesktopPowerTest, NothingIsHeldWhileNobodyGrantsIt) {
    auto session = start(kSession, Manner::grants);
    DesktopPower power(grantors());
    const auto id = power.create(kDisplay, kReason);
    ASSERT_TRUE(id);
    EXPECT_TRUE(power.holds(*id));
    EXPECT_FALSE(power.holds(*id + 1));
    session.reset();
    EXPECT_TRUE(runUntil([&] { return !power.holds(*id); }));
    session = start(kSession, Manner::grants);
    EXPECT_TRUE(runUntil([&] { return power.holds(*id); }));
    power.release(*id);
    EXPECT_FALSE(power.holds(*id));
}

TEST_F(DesktopPowerTest, WhatAServiceGrantedStaysWithItThoughABetterOneComes) {
    const auto powerManagement = start(kPowerManagement, Manner::grants);
    DesktopPower power(grantors());
    ASSERT_TRUE(power.create(kDisplay, kReason));
    callsNow();
    const auto session = start(kSession, Manner::grants);
    runFor(kQuiet, [&] { return !calls_.all().isEmpty(); });
    EXPECT_THAT(callsNow(), IsEmpty());
}

TEST_F(DesktopPowerTest, WhatTheDisplayServerGrantedGoesOverToAServiceThatAppears) {
    own_.grants = true;
    DesktopPower power(grantors());
    ASSERT_TRUE(power.create(kDisplay, kReason));
    EXPECT_EQ(own_.held, 1);
    auto refusing = start(kScreenSaver, Manner::refuses);
    EXPECT_THAT(calls(1), ElementsAre(kAskScreenSaver));
    EXPECT_EQ(own_.held, 1) << "until it is granted";
    refusing.reset();
    const auto screenSaver = start(kScreenSaver, Manner::grants);
    EXPECT_TRUE(runUntil([&] { return own_.held == 0; }));
    EXPECT_THAT(calls(1), ElementsAre(kAskScreenSaver));
}

TEST_F(DesktopPowerTest, WhatHasEndedByItselfIsTakenFromTheNext) {
    own_.grants = true;
    own_.givesWay = false;
    const auto portal = start(kPortal, Manner::grants);
    DesktopPower power(grantors());
    ASSERT_TRUE(power.create(kDisplay, kReason));
    callsNow();
    own_.grants = false;
    own_.over = true;
    own_.ended();
    EXPECT_EQ(own_.held, 1) << "not while it calls";
    EXPECT_THAT(calls(1), ElementsAre(kAskPortal));
    EXPECT_EQ(own_.held, 0);
}

TEST_F(DesktopPowerTest, NoServiceIsStartedButThePortal) {
    const QTemporaryDir marks;
    const auto mark = [&](const QString& name) { return marks.filePath(name); };
    const QStringList names{kSession, kScreenSaver, kPowerManagement, kLogind, kPortal};
    for (const QString& name : names) {
        ASSERT_TRUE(privateBus->offer(name, "/bin/mkdir " + mark(name).toUtf8()));
    }
    DesktopPower power(grantors());
    EXPECT_FALSE(power.create(kDisplay, kReason));
    EXPECT_FALSE(power.create(kSystem, kReason));
    EXPECT_TRUE(runUntil([&] { return QDir(mark(kPortal)).exists(); }));
    for (const QString& name : names) {
        EXPECT_EQ(QDir(mark(name)).exists(), name == kPortal) << name.toStdString();
    }
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    korvel::PrivateBus bus;
    for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
        qputenv(name, bus.address().toUtf8());
    }
    korvel::platform::privateBus = &bus;
    return RUN_ALL_TESTS();
}
