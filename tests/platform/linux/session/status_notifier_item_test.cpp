#include "platform/linux/session/status_notifier_item.h"

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QImage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <QtEndian>
#include <gtest/gtest.h>

#include "app/status_title.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/dbus_menu.h"
#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/private_bus.h"
#include "platform/linux/session/tray_icon.h"
#include "platform/linux/session/tray_menu.h"
#include "platform/linux/session/tray_pixmaps.h"

namespace korvel::platform {
namespace {

const QString kItem = QStringLiteral("org.kde.StatusNotifierItem");
const QString kMenu = QStringLiteral("com.canonical.dbusmenu");

QVariant ids(const QList<int>& numbers) {
    return QVariant::fromValue(numbers);
}

/// Keeps the signals of a program.
class Signals : public QObject {
    Q_OBJECT

  public:
    std::vector<QDBusMessage> heard;

    Q_SLOT void hear(const QDBusMessage& message) { heard.push_back(message); }

    QStringList names() const {
        QStringList found;
        for (const QDBusMessage& message : heard) {
            found += message.member();
        }
        return found;
    }
};

/// What a panel does with an item and its menu, on a private bus.
class StatusNotifierItemTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(program_.isConnected() && panel_.isConnected());
        item_.exportOn(program_);
        menu_.exported().exportOn(program_, StatusNotifierItem::menuPath());
        for (const QString& interface : {kItem, kMenu}) {
            ASSERT_TRUE(panel_.connect(program_.baseService(), QString(), interface, QString(),
                                       &signals_, SLOT(hear(QDBusMessage))));
        }
    }
    ~StatusNotifierItemTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
        QDBusConnection::disconnectFromBus(QStringLiteral("panel"));
    }

    QDBusMessage call(const QString& interface, const char* method, const QVariantList& arguments) {
        const QString path =
            interface == kMenu ? StatusNotifierItem::menuPath() : StatusNotifierItem::path();
        return ask(BusObject(panel_, program_.baseService(), path, interface), method, arguments);
    }

    QVariantMap properties(const QString& interface) {
        const QString path =
            interface == kMenu ? StatusNotifierItem::menuPath() : StatusNotifierItem::path();
        return QDBusReply<QVariantMap>(
                   ask(BusObject(panel_, program_.baseService(), path,
                                 QStringLiteral("org.freedesktop.DBus.Properties")),
                       "GetAll", {interface}))
            .value();
    }

    /// The texts of the menu, a line as "-".
    QStringList layout(int parent = 0, int depth = -1) {
        const QDBusMessage answer = call(kMenu, "GetLayout", {parent, depth, QStringList()});
        EXPECT_EQ(answer.signature(), QStringLiteral("u(ia{sv}av)"));
        QStringList texts;
        for (const MenuLayout& entry :
             qdbus_cast<MenuLayout>(answer.arguments().value(1)).children) {
            texts +=
                entry.properties.value(QStringLiteral("label"), QStringLiteral("-")).toString();
        }
        return texts;
    }

    /// The signals since the last time, after all that is on its way has arrived.
    QStringList signalsSince() {
        call(kItem, "Scroll", {0, QString()}); // messages keep their order
        const QStringList names = signals_.names();
        signals_.heard.clear();
        return names;
    }

    void setMenu() {
        menu_.setItems({{.title = "Check for Updates…",
                         .command = MenuCommand::checkForUpdates,
                         .action = [this] { chosen_ += QStringLiteral("updates"); },
                         .keyEquivalent = ""},
                        {},
                        {.title = "Quit",
                         .command = MenuCommand::terminate,
                         .action = [this] { chosen_ += QStringLiteral("quit"); },
                         .keyEquivalent = "q"}});
        menu_.setOpenAction([this] { chosen_ += QStringLiteral("open"); });
        menu_.setSummary(QStringLiteral("69 · Fair"));
    }

    PrivateBus bus_;
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
    QDBusConnection panel_ = bus_.connect(QStringLiteral("panel"));
    Signals signals_;
    std::vector<ActivationRequest> clicks_;
    std::vector<ActivationRequest> menus_;
    QStringList chosen_;
    int fetched_ = 0;
    StatusNotifierItem item_{
        {.activated = [this](const ActivationRequest& click) { clicks_.push_back(click); },
         .menuWanted = [this](const ActivationRequest& click) { menus_.push_back(click); },
         .pictureFetched = [this] { ++fetched_; }}};
    TrayMenu menu_;

  private:
    static QDBusMessage ask(const BusObject& object, const char* method,
                            const QVariantList& arguments) {
        std::optional<QDBusMessage> answer;
        QObject context;
        object.ask(method, arguments, context,
                   [&answer](const QDBusMessage& message) { answer = message; });
        EXPECT_TRUE(runUntil([&answer] { return answer.has_value(); })) << method;
        return answer.value_or(QDBusMessage());
    }
};

TEST_F(StatusNotifierItemTest, ItsPropertiesAreThoseOfTheProtocol) {
    item_.setToolTip(QStringLiteral("● 87 · Healthy"));
    const QVariantMap item = properties(kItem);
    const std::map<QString, QVariant> plain = {
        {QStringLiteral("Category"), QStringLiteral("ApplicationStatus")},
        {QStringLiteral("Id"), QStringLiteral("korvel")},
        {QStringLiteral("Title"), QStringLiteral("Korvel")},
        {QStringLiteral("Status"), QStringLiteral("Active")},
        {QStringLiteral("WindowId"), 0},
        {QStringLiteral("IconThemePath"), QString()},
        {QStringLiteral("ItemIsMenu"), false},
        {QStringLiteral("IconName"), QString()},
        {QStringLiteral("IconAccessibleDesc"), QStringLiteral("● 87 · Healthy")},
        {QStringLiteral("OverlayIconName"), QString()},
        {QStringLiteral("AttentionIconName"), QString()},
        {QStringLiteral("AttentionMovieName"), QString()},
    };
    for (const auto& [name, value] : plain) {
        EXPECT_EQ(item.value(name), value) << name.toStdString();
    }
    EXPECT_EQ(item.value(QStringLiteral("Menu")).value<QDBusObjectPath>().path(),
              QStringLiteral("/MenuBar"));
    for (const char* name : {"IconPixmap", "OverlayIconPixmap", "AttentionIconPixmap"}) {
        const auto pixmaps = item.value(QLatin1String(name)).value<QDBusArgument>();
        EXPECT_EQ(pixmaps.currentSignature(), QStringLiteral("a(iiay)")) << name;
        EXPECT_TRUE(qdbus_cast<TrayPixmaps>(pixmaps).isEmpty()) << name;
    }
    const auto toolTip = item.value(QStringLiteral("ToolTip")).value<QDBusArgument>();
    EXPECT_EQ(toolTip.currentSignature(), QStringLiteral("(sa(iiay)ss)"));
    EXPECT_EQ(qdbus_cast<TrayToolTip>(toolTip).title, QStringLiteral("● 87 · Healthy"));
    EXPECT_EQ(item.size(), 17);

    const QVariantMap menu = properties(kMenu);
    EXPECT_EQ(menu.value(QStringLiteral("Version")), QVariant(3U));
    EXPECT_EQ(menu.value(QStringLiteral("TextDirection")), QStringLiteral("ltr"));
    EXPECT_EQ(menu.value(QStringLiteral("Status")), QStringLiteral("normal"));
    EXPECT_EQ(menu.value(QStringLiteral("IconThemePath")), QStringList());
    EXPECT_EQ(menu.size(), 4);
}

TEST_F(StatusNotifierItemTest, ItsPicturesAreThoseOfTheTitleInNetworkByteOrder) {
    const StatusTitle title = statusTitle(42, true);
    item_.setTitle(title);
    const auto pixmaps =
        qdbus_cast<TrayPixmaps>(properties(kItem).value(QStringLiteral("IconPixmap")));
    std::vector<int> sizes;
    for (const TrayPixmap& pixmap : pixmaps) {
        sizes.push_back(pixmap.width);
        ASSERT_EQ(pixmap.width, pixmap.height);
        ASSERT_EQ(pixmap.bytes.size(), 4 * pixmap.width * pixmap.height);
        const QImage drawn =
            drawTrayIcon(title, pixmap.width).convertToFormat(QImage::Format_ARGB32);
        for (int i = 0; i < pixmap.width * pixmap.height; ++i) {
            ASSERT_EQ(qFromBigEndian<quint32>(pixmap.bytes.constData() + qsizetype{4} * i),
                      drawn.pixel(i % pixmap.width, i / pixmap.width))
                << "pixel " << i << " of " << pixmap.width;
        }
    }
    EXPECT_EQ(sizes, (std::vector<int>{16, 18, 20, 22, 24, 28, 32, 44}));
    EXPECT_TRUE(runUntil([this] { return fetched_ > 0; })) << "nobody was told of the host";
}

TEST_F(StatusNotifierItemTest, HostsHearOfWhatChangedAndOfNothingElse) {
    EXPECT_EQ(signalsSince(), QStringList());
    item_.setTitle(statusTitle(87, false));
    item_.setToolTip(QStringLiteral("87"));
    setMenu();
    EXPECT_EQ(signalsSince(),
              (QStringList{"NewIcon", "NewToolTip", "LayoutUpdated", "LayoutUpdated"}));
    item_.setTitle(statusTitle(87, false));
    item_.setToolTip(QStringLiteral("87"));
    setMenu();
    EXPECT_EQ(signalsSince(), QStringList());
    StatusTitle otherText = statusTitle(87, false);
    otherText.runs.clear();
    item_.setTitle(otherText);
    EXPECT_EQ(signalsSince(), QStringList()) << "the picture is the same";
    item_.setTitle(statusTitle(87, true));
    EXPECT_EQ(signalsSince(), QStringList{"NewIcon"});
    item_.setTitle(statusTitle(86, true));
    EXPECT_EQ(signalsSince(), QStringList{"NewIcon"});
    item_.setToolTip(QStringLiteral("86"));
    EXPECT_EQ(signalsSince(), QStringList{"NewToolTip"});
}

TEST_F(StatusNotifierItemTest, AClickBringsItsPlaceAndTheTokenThatCameAheadOfIt) {
    call(kItem, "ProvideXdgActivationToken", {QStringLiteral("token-1")});
    call(kItem, "Activate", {1118, -16});
    call(kItem, "Activate", {3, 4});
    call(kItem, "ProvideXdgActivationToken", {QStringLiteral("token-2")});
    call(kItem, "ContextMenu", {5, 6});
    call(kItem, "ProvideXdgActivationToken", {QStringLiteral("token-3")});
    call(kItem, "SecondaryActivate", {7, 8});
    call(kItem, "Activate", {9, 10});
    EXPECT_TRUE(runUntil([this] { return clicks_.size() == 3 && menus_.size() == 1; }));
    const auto request = [](double x, double y, const char* token) {
        return ActivationRequest{.place = Point{x, y}, .token = token};
    };
    EXPECT_EQ(clicks_,
              (std::vector{request(1118, -16, "token-1"), request(3, 4, ""), request(9, 10, "")}))
        << "a token is good for one click, the middle one too";
    EXPECT_EQ(menus_, std::vector{request(5, 6, "token-2")});
    call(kItem, "ProvideXdgActivationToken", {QStringLiteral("token-4")});
    EXPECT_EQ(item_.takeToken(), "token-4");
    EXPECT_EQ(item_.takeToken(), "");
}

TEST_F(StatusNotifierItemTest, TheMenuStartsWithTheReadingWhichOpensThePopover) {
    setMenu();
    const QStringList rest = {"Check for Updates…", "-", "Quit"};
    EXPECT_EQ(layout(), (QStringList{"69 · Fair", "-"} + rest));
    EXPECT_EQ(layout(0, 1), (QStringList{"69 · Fair", "-"} + rest));
    EXPECT_EQ(layout(0, 0), QStringList());
    EXPECT_EQ(layout(1, -1), QStringList());
    for (const int id : {1, 2, 3, 4, 5, 0}) {
        for (const char* event : {"opened", "hovered", "clicked", "closed"}) {
            call(kMenu, "Event",
                 {id, QLatin1String(event), QVariant::fromValue(QDBusVariant(0)), 0U});
        }
    }
    EXPECT_EQ(chosen_, (QStringList{"open", "updates", "quit"}));
    menu_.setSummary(QString());
    EXPECT_EQ(layout(), rest);
}

TEST_F(StatusNotifierItemTest, ATextOfTheMenuIsSentAloneAndOnlyWhenItChanged) {
    setMenu();
    signalsSince();
    menu_.setSummary(QStringLiteral("69 · Fair"));
    EXPECT_EQ(signalsSince(), QStringList());
    menu_.setSummary(QStringLiteral("70 · so_so"));
    call(kItem, "Scroll", {0, QString()});
    ASSERT_EQ(signals_.names(), QStringList{"ItemsPropertiesUpdated"});
    EXPECT_EQ(signals_.heard[0].signature(), QStringLiteral("a(ia{sv})a(ias)"));
    const auto changed = qdbus_cast<QList<MenuProperties>>(signals_.heard[0].arguments().value(0));
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0].id, 1);
    EXPECT_EQ(changed[0].properties,
              (QVariantMap{{QStringLiteral("label"), QStringLiteral("70 · so__so")}}))
        << "a single underscore would mark a key";
    signals_.heard.clear();
    menu_.setItems({});
    EXPECT_EQ(signalsSince(), QStringList{"LayoutUpdated"});
}

TEST_F(StatusNotifierItemTest, SomeOfAMenusPropertiesCanBeAskedFor) {
    setMenu();
    const auto of = [this](const QList<int>& numbers, const QStringList& names) {
        const QDBusMessage answer = call(kMenu, "GetGroupProperties", {ids(numbers), names});
        EXPECT_EQ(answer.signature(), QStringLiteral("a(ia{sv})"));
        QStringList found;
        for (const MenuProperties& entry :
             qdbus_cast<QList<MenuProperties>>(answer.arguments().value(0))) {
            found += QString::number(entry.id) + QStringList(entry.properties.keys()).join('+');
        }
        return found;
    };
    EXPECT_EQ(of({}, {}),
              (QStringList{"0children-display", "1label", "2type", "3label", "4type", "5label"}));
    EXPECT_EQ(of({5, 77, -1}, {"label", "no such"}), QStringList{"5label"});
    EXPECT_EQ(of({2}, {"label"}), QStringList{"2"});
    EXPECT_EQ(QDBusReply<QDBusVariant>(call(kMenu, "GetProperty", {5, QStringLiteral("label")}))
                  .value()
                  .variant(),
              QStringLiteral("Quit"));
}

TEST_F(StatusNotifierItemTest, GroupsOfCallsAreAnsweredForWhatIsThere) {
    setMenu();
    const auto event = [](int id) {
        return MenuEvent{.id = id, .event = QStringLiteral("clicked"), .data = QDBusVariant(0)};
    };
    const auto events = [](const QList<MenuEvent>& of) { return QVariant::fromValue(of); };
    QDBusMessage answer = call(kMenu, "EventGroup", {events({event(5), event(9), event(3)})});
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.arguments().value(0)), QList<int>{9});
    EXPECT_EQ(chosen_, (QStringList{"quit", "updates"}));
    answer = call(kMenu, "AboutToShowGroup", {ids({0, 9})});
    EXPECT_EQ(answer.signature(), QStringLiteral("aiai"));
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.arguments().value(0)), QList<int>());
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.arguments().value(1)), QList<int>{9});
    EXPECT_EQ(QDBusReply<bool>(call(kMenu, "AboutToShow", {0})).value(), false);
    EXPECT_EQ(call(kMenu, "EventGroup", {events({event(9)})}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call(kMenu, "AboutToShowGroup", {ids({-9})}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(StatusNotifierItemTest, StrangeCallsAreRefused) {
    setMenu();
    const QVariant number = QVariant::fromValue(QDBusVariant(0));
    const std::string invalid = "org.freedesktop.DBus.Error.InvalidArgs";
    const std::string unknown = "org.freedesktop.DBus.Error.UnknownMethod";
    struct Case {
        QString interface;
        const char* method;
        QVariantList arguments;
        std::string error;
    };
    for (const Case& c : {
             Case{kMenu, "GetLayout", {6, -1, QStringList()}, invalid},
             Case{kMenu, "GetLayout", {-1, -1, QStringList()}, invalid},
             Case{kMenu, "GetLayout", {0, -2, QStringList()}, invalid},
             Case{kMenu, "GetLayout", {0, std::numeric_limits<int>::min(), QStringList()}, invalid},
             Case{kMenu, "GetLayout", {0U, -1, QStringList()}, unknown},
             Case{kMenu, "GetLayout", {}, unknown},
             Case{kMenu, "GetGroupProperties", {QStringLiteral("all"), QStringList()}, unknown},
             Case{kMenu, "GetProperty", {6, QStringLiteral("label")}, invalid},
             Case{kMenu, "GetProperty", {1, QStringLiteral("colour")}, invalid},
             Case{kMenu, "GetProperty", {2, QStringLiteral("label")}, invalid},
             Case{kMenu, "Event", {6, QStringLiteral("clicked"), number, 0U}, invalid},
             Case{
                 kMenu, "Event", {std::numeric_limits<int>::max(), QString(), number, 0U}, invalid},
             Case{kMenu, "Event", {QStringLiteral("1"), QString(), number, 0U}, unknown},
             Case{kMenu, "AboutToShow", {-1}, invalid},
             Case{kMenu, "Erase", {}, unknown},
             Case{kItem, "Activate", {QStringLiteral("here")}, unknown},
             Case{kItem, "Activate", {1.5, 2.5}, unknown},
             Case{kItem, "Scroll", {0}, unknown},
             Case{kItem, "ProvideXdgActivationToken", {1}, unknown},
             Case{kItem, "deleteLater", {}, unknown},
         }) {
        EXPECT_EQ(call(c.interface, c.method, c.arguments).errorName().toStdString(), c.error)
            << c.method;
    }
    EXPECT_EQ(chosen_, QStringList());
    EXPECT_TRUE(clicks_.empty());
}

TEST(TrayPixmapCache, ThePicturesOfAScoreArePaintedOnce) {
    TrayPixmapCache cache;
    const auto painted = [&cache](int score) {
        return cache.of(statusTitle(score, false)).front().bytes.constData();
    };
    const char* first = painted(70);
    EXPECT_EQ(painted(70), first);
    const char* second = painted(69);
    EXPECT_NE(second, first);
    EXPECT_EQ(painted(70), first) << "a score goes back and forth";
    EXPECT_EQ(painted(69), second);
    for (const int score : {1, 2, 3, 4}) {
        painted(score);
    }
    const char* fourth = painted(4);
    painted(70); // painted again
    EXPECT_EQ(painted(4), fourth) << "what was shown last is kept";
    EXPECT_EQ(painted(2), painted(2));
}

TEST(TrayPixmapCache, WhatLooksOtherwiseIsPaintedAnew) {
    TrayPixmapCache cache;
    StatusTitle title = statusTitle(70, false);
    const QByteArray plain = cache.of(title).front().bytes;
    title.awake = true;
    EXPECT_NE(cache.of(title).front().bytes, plain);
    title.awake = false;
    title.colour = {0, 0, 1};
    EXPECT_NE(cache.of(title).front().bytes, plain);
}

} // namespace
} // namespace korvel::platform

#include "status_notifier_item_test.moc"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
