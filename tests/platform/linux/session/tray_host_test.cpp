#include "platform/linux/session/tray_host.h"

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QDBusConnection>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/fake_watcher.h"
#include "platform/linux/session/private_bus.h"

namespace korvel::platform {
namespace {

using Answer = FakeWatcher::Answer;

class TrayHostTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(program_.isConnected());
    }
    ~TrayHostTest() override {
        host_.reset();
        for (const char* name : {"program", "panel", "panel 2"}) {
            QDBusConnection::disconnectFromBus(QLatin1String(name));
        }
    }

    /// Starts the program's side. The moment for which an XEmbed tray has to stand is no wait.
    void start() {
        host_ = std::make_unique<TrayHost>(
            program_,
            TrayHost::Calls{.xembedTray =
                                [this] {
                                    ++looks_;
                                    return xembed_;
                                },
                            .registerItem = [this] { ++registrations_; },
                            .changed = [this](TrayKind kind) { kinds_.push_back(kind); }},
            std::chrono::milliseconds(0));
    }

    /// Waits until all that is on its way has arrived: messages keep their order, so what was asked
    /// before the panel's answer to this, and in turn after it, has been answered too.
    void settle() {
        constexpr int kRounds = 3; // one may set off another
        for (int i = 0; i < kRounds; ++i) {
            bool answered = false;
            QObject context;
            BusObject(program_, panel_.baseService(), QStringLiteral("/"),
                      QStringLiteral("org.freedesktop.DBus.Peer"))
                .ask("Ping", {}, context, [&answered](const QDBusMessage&) { answered = true; });
            ASSERT_TRUE(runUntil([&answered] { return answered; }));
        }
    }

    PrivateBus bus_;
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
    QDBusConnection panel_ = bus_.connect(QStringLiteral("panel"));
    FakeWatcher watcher_;
    bool xembed_ = false;
    int looks_ = 0;
    int registrations_ = 0;
    std::vector<TrayKind> kinds_;
    std::unique_ptr<TrayHost> host_;
};

using Kinds = std::vector<TrayKind>;

TEST_F(TrayHostTest, AHostThatIsThereIsFoundAndTheItemIsRegisteredOnce) {
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    EXPECT_EQ(registrations_, 0) << "not before a later turn";
    EXPECT_TRUE(runUntil([this] { return !kinds_.empty(); }));
    settle();
    EXPECT_EQ(kinds_, Kinds{TrayKind::notifier});
    EXPECT_EQ(registrations_, 1);
}

TEST_F(TrayHostTest, APanelThatIsAMinuteLateIsFound) {
    start();
    for (int seconds = 0; seconds < 60; seconds += 5) { // as often as the title is set
        host_->lookAgain();
        settle();
    }
    EXPECT_EQ(kinds_, Kinds{});
    EXPECT_EQ(registrations_, 0);
    ASSERT_TRUE(watcher_.appear(panel_));
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::notifier; }));
    EXPECT_EQ(registrations_, 1);
}

TEST_F(TrayHostTest, FiftyRestartsOfAWatcherAreFiftyRegistrations) {
    start();
    for (int i = 1; i <= 50; ++i) {
        ASSERT_TRUE(watcher_.appear(panel_));
        ASSERT_TRUE(runUntil([&] { return registrations_ == i; })) << "restart " << i;
        FakeWatcher::disappear(panel_);
        settle();
    }
    EXPECT_EQ(registrations_, 50);
    EXPECT_EQ(kinds_, Kinds{TrayKind::notifier}) << "it is the same kind of tray all the time";
}

TEST_F(TrayHostTest, AWatcherThatTakesTheNameFromAnotherGetsTheItemToo) {
    FakeWatcher second;
    QDBusConnection other = bus_.connect(QStringLiteral("panel 2"));
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    ASSERT_TRUE(second.appear(other));
    EXPECT_TRUE(runUntil([this] { return registrations_ == 2; }));
    EXPECT_TRUE(runUntil([&second] { return second.questions == 1; }));
    settle();
    EXPECT_EQ(registrations_, 2);
}

TEST_F(TrayHostTest, TheItemIsOfferedToAWatcherThatHasNoHostYet) {
    watcher_.host = Answer::no;
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    settle();
    EXPECT_EQ(kinds_, Kinds{});
    FakeWatcher::tellOfHost(panel_);
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::notifier; }));
    EXPECT_EQ(registrations_, 1) << "it has the item";
}

TEST_F(TrayHostTest, AnItemThatWasRefusedIsOfferedAgainWhenAHostComes) {
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    host_->registrationFailed();
    settle();
    EXPECT_EQ(registrations_, 1) << "not without end";
    FakeWatcher::tellOfHost(panel_);
    EXPECT_TRUE(runUntil([this] { return registrations_ == 2; }));
}

TEST_F(TrayHostTest, OnlyTheWatcherIsHeard) {
    watcher_.host = Answer::no;
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    FakeWatcher::tellOfHost(program_); // by someone who does not have the name
    settle();
    EXPECT_EQ(kinds_, Kinds{});
}

TEST_F(TrayHostTest, AnXembedTrayIsTakenWhereThereIsNoHost) {
    for (const Answer host : {Answer::no, Answer::error}) {
        kinds_.clear();
        watcher_.host = host;
        ASSERT_TRUE(watcher_.appear(panel_));
        start();
        settle();
        xembed_ = true;
        host_->lookAgain();
        EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::xembed; }));
        FakeWatcher::disappear(panel_);
    }
    kinds_.clear();
    start(); // now without a watcher
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::xembed; }));
    EXPECT_EQ(kinds_, Kinds{TrayKind::xembed});
}

TEST_F(TrayHostTest, ATrayStandsAsSoonAsItIsKnownNotOnlyWithTheIcon) {
    start();
    settle();
    EXPECT_FALSE(host_->trayStands());
    ASSERT_TRUE(watcher_.appear(panel_));
    EXPECT_TRUE(runUntil([this] { return host_->trayStands(); }));
    EXPECT_EQ(host_->kind(), TrayKind::notifier);
    FakeWatcher::disappear(panel_);
    settle();

    xembed_ = true;
    const TrayHost waiting(program_,
                           {.xembedTray = [this] { return xembed_; },
                            .registerItem = [] {},
                            .changed = [](TrayKind) {}},
                           std::chrono::hours(1));
    EXPECT_TRUE(runUntil([&] { return waiting.trayStands(); }));
    EXPECT_EQ(waiting.kind(), TrayKind::none);
}

TEST_F(TrayHostTest, AnXembedTrayThatIsGoneAfterTheGraceIsNotTaken) {
    start();
    settle();
    xembed_ = true;
    host_->lookAgain();
    xembed_ = false;
    settle();
    EXPECT_EQ(kinds_, Kinds{});
}

TEST_F(TrayHostTest, AHostThatDeniesItselfAndFetchesThePictureIsOne) {
    watcher_.host = Answer::no;
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    settle();
    host_->pictureFetched();
    xembed_ = true;
    host_->lookAgain();
    settle();
    EXPECT_EQ(kinds_, Kinds{TrayKind::notifier}) << "and not in the other tray as well";
}

TEST_F(TrayHostTest, AHostThatComesLaterTakesTheIconFromTheXembedTray) {
    watcher_.host = Answer::no;
    xembed_ = true;
    start();
    ASSERT_TRUE(runUntil([this] { return host_->kind() == TrayKind::xembed; }));
    ASSERT_TRUE(watcher_.appear(panel_));
    settle();
    EXPECT_EQ(registrations_, 0) << "it would be shown twice";
    FakeWatcher::tellOfHost(panel_);
    EXPECT_TRUE(runUntil([this] { return registrations_ == 1; }));
    EXPECT_EQ(kinds_, (Kinds{TrayKind::xembed, TrayKind::notifier}));
    FakeWatcher::disappear(panel_);
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::xembed; }));
    watcher_.host = Answer::yes;
    ASSERT_TRUE(watcher_.appear(panel_));
    EXPECT_TRUE(runUntil([this] { return registrations_ == 2; }));
    EXPECT_EQ(host_->kind(), TrayKind::notifier);
}

TEST_F(TrayHostTest, AWatcherThatHangsHoldsUpNothingAndIsLeftForTheNext) {
    FakeWatcher second;
    QDBusConnection other = bus_.connect(QStringLiteral("panel 2"));
    watcher_.host = Answer::none;
    xembed_ = true;
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return watcher_.questions == 1; }));
    settle();
    host_->lookAgain();
    settle();
    EXPECT_EQ(kinds_, Kinds{}) << "Qt would wait for the answer";
    ASSERT_TRUE(second.appear(other));
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::notifier; }));
    EXPECT_EQ(registrations_, 2) << "one with each";
}

TEST_F(TrayHostTest, ABusThatIsBackHasItsHostFoundAndTheItemRegisteredAgain) {
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return registrations_ == 1; }));
    host_->busLost();
    const PrivateBus second;
    FakeWatcher there;
    QDBusConnection::disconnectFromBus(program_.name());
    program_ = second.connect(program_.name()); // the program's connection keeps its name
    panel_ = second.connect(QStringLiteral("panel 3"));
    ASSERT_TRUE(there.appear(panel_));
    host_->useBus(program_);
    EXPECT_TRUE(runUntil([&] { return registrations_ == 2 && there.questions == 1; }));
    FakeWatcher::disappear(panel_);
    settle();
    ASSERT_TRUE(there.appear(panel_));
    EXPECT_TRUE(runUntil([this] { return registrations_ == 3; })) << "what comes there is seen";
    host_.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("panel 3"));
}

TEST_F(TrayHostTest, WithoutItsBusTheIconGoesToAnXembedTray) {
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return host_->kind() == TrayKind::notifier; }));
    xembed_ = true;
    host_->busLost();
    EXPECT_TRUE(runUntil([this] { return host_->kind() == TrayKind::xembed; }));
}

TEST_F(TrayHostTest, AnXembedTrayIsNotLookedForWhileThereIsAHost) {
    ASSERT_TRUE(watcher_.appear(panel_));
    start();
    ASSERT_TRUE(runUntil([this] { return host_->kind() == TrayKind::notifier; }));
    looks_ = 0;
    host_->lookAgain();
    EXPECT_EQ(looks_, 0);
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
