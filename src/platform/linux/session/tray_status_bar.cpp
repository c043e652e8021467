#include "platform/linux/session/tray_status_bar.h"

#include <chrono>
#include <utility>

#include <QGuiApplication>
#include <QKeyEvent>

#include "platform/linux/session/tray_icon.h"

namespace korvel::platform {

TrayStatusItem::TrayStatusItem(QMenu& menu)
    : menu_(menu), clicksIgnoredUntil_(0), host_([this] { appear(); }) {}

void TrayStatusItem::setTitle(const StatusTitle& title) {
    if (!icon_) {
        host_.lookAgain();
    }
    // To set an icon sends it to the panel and wakes it, whether the icon changed or not.
    if (title_ != title) {
        title_ = title;
        if (icon_) {
            icon_->setIcon(trayIcon(title));
        }
    }
}

void TrayStatusItem::setToolTip(const std::string& text) {
    if (QString toolTip = QString::fromStdString(text); toolTip != toolTip_) {
        toolTip_ = std::move(toolTip);
        if (icon_) {
            icon_->setToolTip(toolTip_);
        }
    }
}

void TrayStatusItem::setAction(Action action) {
    action_ = std::move(action);
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
    clicksIgnoredUntil_.setRemainingTime(
        std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)));
}

void TrayStatusItem::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>();
    connect(icon_.get(), &QSystemTrayIcon::activated, this, &TrayStatusItem::activated);
    if (title_) {
        icon_->setIcon(trayIcon(*title_));
    }
    icon_->setToolTip(toolTip_);
    icon_->setContextMenu(&menu_);
    icon_->show();
}

void TrayStatusItem::activated(QSystemTrayIcon::ActivationReason reason) {
    // The second of two quick clicks comes as a double click, and counts as a click too.
    const bool click = reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick;
    if (click && clicksIgnoredUntil_.hasExpired() && action_) {
        action_({});
    }
}

TrayStatusBar::TrayStatusBar() {
    qGuiApp->installEventFilter(this);
}

TrayStatusBar::~TrayStatusBar() = default;

std::unique_ptr<StatusItem> TrayStatusBar::makeStatusItem() {
    return std::make_unique<TrayStatusItem>(menu_);
}

void TrayStatusBar::setMainMenu(MainMenu menu) {
    mainMenu_ = std::move(menu);
    menu_.clear();
    if (mainMenu_.menus.empty()) {
        return;
    }
    for (const MenuItem& item : mainMenu_.menus.front().items) {
        if (item.title.empty()) {
            menu_.addSeparator();
        } else if (item.action) {
            menu_.addAction(QString::fromStdString(item.title), this, item.action);
        }
    }
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
