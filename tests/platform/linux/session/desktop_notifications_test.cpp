#include "platform/linux/session/desktop_notifications.h"

#include <csignal>
#include <tuple>
#include <vector>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"
#include "platform/status_bar.h"

namespace korvel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QString kNotificationService = QStringLiteral("org.freedesktop.Notifications");
const QString kNotificationPath = QStringLiteral("/org/freedesktop/Notifications");

/// A service that shows notifications, on a connection of its own.
class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

  public:
    FakeNotifications(const PrivateBus& bus, const QString& name)
        : name_(name), own_(bus.connect(name)) {
        EXPECT_TRUE(own_.registerObject(kNotificationPath, this, QDBusConnection::ExportAllSlots));
    }
    FakeNotifications(const FakeNotifications&) = delete;
    FakeNotifications& operator=(const FakeNotifications&) = delete;
    ~FakeNotifications() override { QDBusConnection::disconnectFromBus(name_); }

    QStringList capabilities{QStringLiteral("actions"), QStringLiteral("body")};
    std::vector<uint> replaced;       ///< what each notification was to replace; 0: nothing
    std::vector<QStringList> actions; ///< of each
    std::vector<uint> closed;         ///< what was to be closed
    uint number = 7;                  ///< that it gives to the next one

    QString address() const { return own_.baseService(); }
    bool take() { return own_.registerService(kNotificationService); }
    bool leave() { return own_.unregisterService(kNotificationService); }

    /// A signal of these arguments, to everybody.
    void tell(const char* signal, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createSignal(kNotificationPath, kNotificationService,
                                                          QLatin1String(signal));
        message.setArguments(arguments);
        EXPECT_TRUE(own_.send(message));
    }

    // The names are the protocol's. NOLINTBEGIN(readability-identifier-naming)
    Q_SLOT QStringList GetCapabilities() { return capabilities; }
    Q_SLOT uint Notify(const QString& /*program*/, uint replaces, const QString& /*icon*/,
                       const QString& /*summary*/, const QString& /*body*/,
                       const QStringList& offered, const QVariantMap& /*hints*/, int /*timeout*/) {
        replaced.push_back(replaces);
        actions.push_back(offered);
        return replaces == 0 ? number++ : replaces;
    }
    Q_SLOT void CloseNotification(uint which) { closed.push_back(which); }
    // NOLINTEND(readability-identifier-naming)

  private:
    QString name_;
    QDBusConnection own_;
};

class DesktopNotificationsTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(service_.take());
        notifications_.setAction(
            [this](const ActivationRequest& request) { requests_.push_back(request); });
    }
    ~DesktopNotificationsTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
    }

    /// Posts, and returns when the service's answer has come too.
    void post(const FakeNotifications& to) {
        const std::size_t before = to.replaced.size();
        notifications_.post({"identifier", "title", "body"});
        EXPECT_TRUE(runUntil([&] { return to.replaced.size() > before; }));
        settle(to);
    }
    void post() { post(service_); }

    /// Until what was sent before this has arrived, either way: the bus keeps the order.
    void settle(const FakeNotifications& with) {
        QObject context;
        bool answered = false;
        BusObject(program_, with.address(), kNotificationPath, kNotificationService)
            .ask("GetCapabilities", {}, context, [&](const QDBusMessage&) { answered = true; });
        EXPECT_TRUE(runUntil([&] { return answered; }));
    }
    void settle() { settle(service_); }

    PrivateBus bus_;
    FakeNotifications service_{bus_, QStringLiteral("service")};
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
    DesktopNotifications notifications_{[](std::string text) { return text; }, program_};
    std::vector<ActivationRequest> requests_;
};

const QVariant kShown = 7U; ///< the number of the first
const QString kOnTheWhole = QStringLiteral("default");

ActivationRequest withToken(const std::string& token) {
    return {.place = std::nullopt, .token = token};
}

TEST_F(DesktopNotificationsTest, AnActionIsOfferedWhereTheServiceHasActions) {
    post();
    EXPECT_THAT(service_.actions.back(), ElementsAre(kOnTheWhole, QStringLiteral("Show")));
    service_.capabilities = {QStringLiteral("body")};
    post();
    EXPECT_THAT(service_.actions.back(), IsEmpty());
}

TEST_F(DesktopNotificationsTest, AClickAsksForThePopoverWithTheTokenThatCameBeforeIt) {
    post();
    service_.tell("ActionInvoked", {kShown, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return requests_.size() == 1; }));
    service_.tell("ActivationToken", {kShown, QStringLiteral("token")});
    service_.tell("ActionInvoked", {kShown, kOnTheWhole});
    service_.tell("ActionInvoked", {kShown, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return requests_.size() == 3; }));
    EXPECT_THAT(requests_, ElementsAre(withToken(""), withToken("token"), withToken("")))
        << "a token is good for one click";
}

TEST_F(DesktopNotificationsTest, WhatIsNoClickOnTheShownOneIsIgnored) {
    post();
    FakeNotifications other(bus_, QStringLiteral("other"));
    other.tell("ActionInvoked", {kShown, kOnTheWhole});
    const std::vector<std::tuple<const char*, QVariantList>> rows{
        {"ActionInvoked", {}},
        {"ActionInvoked", {kShown}},
        {"ActionInvoked", {8U, kOnTheWhole}},
        {"ActionInvoked", {0U, kOnTheWhole}},
        {"ActionInvoked", {7, kOnTheWhole}}, // with a sign
        {"ActionInvoked", {QStringLiteral("7"), kOnTheWhole}},
        {"ActionInvoked", {kShown, QStringLiteral("settings")}},
        {"ActionInvoked", {kShown, kShown}},
        {"ActivationToken", {8U, QStringLiteral("token of another")}},
        {"ActivationToken", {kShown, kShown}},
        {"ActivationToken", {}},
        {"NotificationClosed", {8U, 1U}},
        {"NotificationClosed", {}},
    };
    for (const auto& [signal, arguments] : rows) {
        service_.tell(signal, arguments);
    }
    settle(other);
    settle();
    EXPECT_THAT(requests_, IsEmpty());
    service_.tell("ActionInvoked", {kShown, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return !requests_.empty(); })) << "it is still known";
    EXPECT_THAT(requests_, ElementsAre(withToken("")));
}

TEST_F(DesktopNotificationsTest, TheNextReplacesTheOneThatIsShown) {
    post();
    post();
    EXPECT_THAT(service_.replaced, ElementsAre(0U, 7U));
    service_.tell("NotificationClosed", {kShown, 2U});
    settle();
    post();
    EXPECT_THAT(service_.replaced, ElementsAre(0U, 7U, 0U)) << "nothing was shown any more";
    service_.tell("ActionInvoked", {8U, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return !requests_.empty(); }));
}

TEST_F(DesktopNotificationsTest, NumbersOfAServiceMeanNothingToTheNextService) {
    post();
    FakeNotifications next(bus_, QStringLiteral("next"));
    next.number = 9;
    ASSERT_TRUE(service_.leave());
    ASSERT_TRUE(next.take());
    post(next);
    EXPECT_THAT(next.replaced, ElementsAre(0U));
    service_.tell("ActionInvoked", {kShown, kOnTheWhole});
    service_.tell("ActionInvoked", {9U, kOnTheWhole});
    settle();
    settle(next);
    EXPECT_THAT(requests_, IsEmpty());
    next.tell("ActionInvoked", {9U, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return !requests_.empty(); }));
    notifications_.withdraw();
    EXPECT_TRUE(runUntil([&] { return !next.closed.empty(); }));
    EXPECT_THAT(next.closed, ElementsAre(9U));
    EXPECT_THAT(service_.closed, IsEmpty());
}

TEST_F(DesktopNotificationsTest, WhatIsShownIsWithdrawnOnce) {
    notifications_.withdraw();
    post();
    notifications_.withdraw();
    notifications_.withdraw();
    EXPECT_TRUE(runUntil([this] { return !service_.closed.empty(); }));
    settle();
    EXPECT_THAT(service_.closed, ElementsAre(7U));
    post();
    service_.tell("NotificationClosed", {8U, 1U});
    settle();
    notifications_.withdraw();
    settle();
    EXPECT_THAT(service_.closed, ElementsAre(7U)) << "what is gone is not closed again";
}

TEST_F(DesktopNotificationsTest, ABusThatDoesNotAnswerHoldsUpTheEndATenthOfASecond) {
    post();
    const auto daemon = static_cast<pid_t>(bus_.processId());
    ASSERT_EQ(::kill(daemon, SIGSTOP), 0);
    QElapsedTimer waited;
    waited.start();
    notifications_.withdraw();
    EXPECT_GT(waited.elapsed(), 50);
    EXPECT_LT(waited.elapsed(), 2000);
    ASSERT_EQ(::kill(daemon, SIGCONT), 0);
    EXPECT_TRUE(runUntil([this] { return !service_.closed.empty(); })) << "it had left";
}

TEST_F(DesktopNotificationsTest, ABusThatIsBackIsPostedToAndHeard) {
    post();
    const PrivateBus second;
    FakeNotifications there(second, QStringLiteral("service there"));
    ASSERT_TRUE(there.take());
    program_ = second.connect(QStringLiteral("program there"));
    notifications_.useBus(program_);
    there.number = 7; // as the one before it gave
    post(there);
    EXPECT_THAT(there.replaced, ElementsAre(0U)) << "nothing is shown there yet";
    there.tell("ActionInvoked", {kShown, kOnTheWhole});
    EXPECT_TRUE(runUntil([this] { return requests_.size() == 1; }));
    QDBusConnection::disconnectFromBus(QStringLiteral("program there"));
}

TEST(DesktopNotifications, WithoutABusNothingHappens) {
    DesktopNotifications notifications([](std::string text) { return text; },
                                       QDBusConnection(QStringLiteral("never connected")));
    notifications.post({"identifier", "title", "body"});
    notifications.withdraw();
    runFor(50, [] { return false; });
}

} // namespace
} // namespace korvel::platform

#include "desktop_notifications_test.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
