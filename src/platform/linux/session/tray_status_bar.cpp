#include "platform/linux/session/tray_status_bar.h"

#include <chrono>
#include <utility>
#include <vector>

#include <QCursor>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPointF>
#include <QRect>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/dbus_menu.h"
#include "platform/linux/session/session_bus.h"
#include "platform/linux/session/tray_icon.h"
#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

/// A connection of the item's own: its name on the bus is the item's, and to close it is the only
/// way to take an item away that every watcher understands.
QString connectionName() {
    return QStringLiteral("korvel-item");
}

bool inWaylandSession() {
    return qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QDeadlineTimer in(double seconds) {
    return QDeadlineTimer(
        std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)));
}

} // namespace

TraySession TraySession::ofProgram(Unasked unasked) {
    return {.bus = SessionBus::ofProgram().connection(),
            .connect =
                [](const QString& name) {
                    return sessionBusIsThere()
                               ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                               : QDBusConnection(name);
                },
            // Of the first screen alone: Qt shows no icon on the other screens of a server.
            .xembedTray = [] { return x11SelectionIsHeld("_NET_SYSTEM_TRAY_S0"); },
            .hostsTellPlaces = inWaylandSession(),
            .unasked = unasked};
}

TrayStatusItem::TrayStatusItem(TrayMenu& menu, TraySession session)
    : menu_(menu), session_(std::move(session)), clicksIgnoredUntil_(0),
      item_({.activated = [this](const auto& click) { clicked(click); },
             .menuWanted = [this](const auto& click) { showMenu(click); },
             .pictureFetched = [this] { host_.pictureFetched(); }}),
      host_(session_.bus, {.xembedTray = session_.xembedTray,
                           .registerItem = [this] { registerItem(); },
                           .changed = [this](TrayKind kind) { kindChanged(kind); }}) {}

TrayStatusItem::~TrayStatusItem() {
    leaveBus();
}

void TrayStatusItem::setTitle(const StatusTitle& title) {
    host_.lookAgain();
    // To set an icon sends it to the panel and wakes it, whether the icon changed or not.
    if (title_ != title) {
        title_ = title;
        item_.setTitle(title);
        if (icon_) {
            icon_->setIcon(trayIcon(title));
        }
    }
}

void TrayStatusItem::setToolTip(const std::string& text) {
    if (QString toolTip = QString::fromStdString(text); toolTip != toolTip_) {
        toolTip_ = std::move(toolTip);
        item_.setToolTip(toolTip_);
        if (icon_) {
            icon_->setToolTip(toolTip_);
        }
    }
}

void TrayStatusItem::setSummary(const std::string& text) {
    menu_.setSummary(QString::fromStdString(text));
}

void TrayStatusItem::setAction(Action action) {
    action_ = std::move(action);
}

void TrayStatusItem::setOpenAction(Action action) {
    open_ = std::move(action);
    menu_.setOpenAction([this] {
        if (open_) {
            open_({.place = {}, .token = item_.takeToken()});
        }
    });
}

void TrayStatusItem::whenSeen(const std::function<void()>& work) {
    if (session_.unasked == Unasked::comesAtOnce || host_.kind() != TrayKind::none) {
        work();
    } else {
        whenSeen_ = work;
    }
}

std::optional<Rectangle> TrayStatusItem::frame() const {
    const QRect place = icon_ ? icon_->geometry() : QRect();
    if (place.isEmpty()) {
        return std::nullopt;
    }
    return Rectangle{static_cast<double>(place.x()), static_cast<double>(place.y()),
                     static_cast<double>(place.width()), static_cast<double>(place.height())};
}

void TrayStatusItem::ignoreClicks(double seconds) {
    clicksIgnoredUntil_ = in(seconds);
}

void TrayStatusItem::ignoreLateClick(double seconds, std::function<bool()> isAnother) {
    lateClickIgnoredUntil_ = in(seconds);
    isAnotherClick_ = std::move(isAnother);
}

void TrayStatusItem::registerItem() {
    QDBusConnection own =
        onBus_ ? QDBusConnection(connectionName()) : session_.connect(connectionName());
    if (!own.isConnected()) {
        leaveBus();
        host_.registrationFailed();
        return;
    }
    if (!onBus_) {
        onBus_ = true;
        item_.exportOn(own);
        menu_.exported().exportOn(own, StatusNotifierItem::menuPath());
    }
    const BusObject watcher(own, TrayHost::watcherService(), TrayHost::watcherPath(),
                            TrayHost::watcherService());
    watcher.ask("RegisterStatusNotifierItem", {own.baseService()}, *this,
                [this](const QDBusMessage& answer) {
                    if (answer.type() == QDBusMessage::ErrorMessage) {
                        host_.registrationFailed();
                    }
                });
}

void TrayStatusItem::leaveBus() {
    onBus_ = false;
    QDBusConnection::disconnectFromBus(connectionName());
}

void TrayStatusItem::busLost() {
    leaveBus();
    host_.busLost();
}

void TrayStatusItem::kindChanged(TrayKind kind) {
    if (kind == TrayKind::xembed) {
        leaveBus();
        showIcon();
    } else {
        icon_.reset();
    }
    if (kind != TrayKind::none) {
        if (const auto work = std::exchange(whenSeen_, nullptr)) {
            work();
        }
    }
}

void TrayStatusItem::showIcon() {
    icon_ = std::make_unique<QSystemTrayIcon>();
    connect(icon_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // The second of two quick clicks comes as a double click, and is a click too.
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
                    clicked({});
                }
            });
    if (title_) {
        icon_->setIcon(trayIcon(*title_));
    }
    icon_->setToolTip(toolTip_);
    icon_->setContextMenu(&menu_.window());
    icon_->show();
}

void TrayStatusItem::clicked(const ActivationRequest& click) {
    const bool isHeard = clicksIgnoredUntil_.hasExpired() &&
                         (lateClickIgnoredUntil_.hasExpired() || isAnotherClick_());
    if (isHeard && action_) {
        action_(trusted(click));
    }
}

void TrayStatusItem::showMenu(const ActivationRequest& click) {
    if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        const ActivationRequest known = trusted(click);
        menu_.window().popup(known.place ? QPointF(known.place->x, known.place->y).toPoint()
                                         : QCursor::pos());
    } else if (open_) {
        // A Wayland compositor shows no menu that belongs to no window of the program.
        open_(trusted(click));
    }
}

ActivationRequest TrayStatusItem::trusted(ActivationRequest click) const {
    if (!session_.hostsTellPlaces) {
        click.place.reset();
    }
    return click;
}

TrayStatusBar::TrayStatusBar(Unasked unasked) : unasked_(unasked) {
    qGuiApp->installEventFilter(this);
}

TrayStatusBar::~TrayStatusBar() = default;

std::unique_ptr<StatusItem> TrayStatusBar::makeStatusItem() {
    auto item = std::make_unique<TrayStatusItem>(menu_, TraySession::ofProgram(unasked_));
    item_ = item.get();
    const SessionBus& bus = SessionBus::ofProgram();
    connect(&bus, &SessionBus::lost, item_, &TrayStatusItem::busLost);
    connect(&bus, &SessionBus::returned, item_, &TrayStatusItem::useBus);
    return item;
}

bool TrayStatusBar::hasTray() const {
    return item_ && item_->isInTray();
}

void TrayStatusBar::setMainMenu(MainMenu menu) {
    mainMenu_ = std::move(menu);
    menu_.setItems(mainMenu_.menus.empty() ? std::vector<MenuItem>()
                                           : mainMenu_.menus.front().items);
}

bool TrayStatusBar::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !watched->isWindowType()) {
        return false;
    }
    const auto* key = static_cast<const QKeyEvent*>(event);
    if (key->modifiers() != Qt::ControlModifier) {
        return false;
    }
    for (const Menu& menu : mainMenu_.menus) {
        for (const MenuItem& item : menu.items) {
            if (item.action && item.keyEquivalent.size() == 1 &&
                key->key() == QChar::fromLatin1(item.keyEquivalent.front()).toUpper().unicode()) {
                item.action();
                return true;
            }
        }
    }
    return false;
}

} // namespace korvel::platform
