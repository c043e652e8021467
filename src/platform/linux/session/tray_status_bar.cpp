#include "platform/linux/session/tray_status_bar.h"

#include <chrono>
#include <utility>

#include <QGuiApplication>
#include <QKeyEvent>

namespace korvel::platform {

QtStatusItem::QtStatusItem(QMenu& menu) : menu_(menu), deaf_(0), host_([this] { appear(); }) {}

void QtStatusItem::setTitle(const StatusTitle& title) {
    if (!icon_) {
        host_.lookAgain();
    }
    // An icon that is set anew travels to the panel and wakes it, changed or not.
    if (StatusPicture picture = statusPicture(title); picture != picture_) {
        picture_ = std::move(picture);
        if (icon_) {
            icon_->setIcon(statusIcon(picture_));
        }
    }
}

void QtStatusItem::setToolTip(const std::string& text) {
    if (QString toolTip = QString::fromStdString(text); toolTip != toolTip_) {
        toolTip_ = std::move(toolTip);
        if (icon_) {
            icon_->setToolTip(toolTip_);
        }
    }
}

void QtStatusItem::setAction(std::function<void()> action) {
    action_ = std::move(action);
}

std::optional<Rectangle> QtStatusItem::frame() const {
    const QRect place = icon_ ? icon_->geometry() : QRect();
    if (place.isEmpty()) {
        return std::nullopt;
    }
    return Rectangle{static_cast<double>(place.x()), static_cast<double>(place.y()),
                     static_cast<double>(place.width()), static_cast<double>(place.height())};
}

void QtStatusItem::ignoreClicks(double seconds) {
    deaf_.setRemainingTime(
        std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)));
}

void QtStatusItem::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>();
    connect(icon_.get(), &QSystemTrayIcon::activated, this, &QtStatusItem::activated);
    icon_->setIcon(statusIcon(picture_));
    icon_->setToolTip(toolTip_);
    icon_->setContextMenu(&menu_);
    icon_->show();
}

void QtStatusItem::activated(QSystemTrayIcon::ActivationReason reason) {
    // The second of two quick clicks is a click like any other.
    const bool click = reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick;
    if (click && deaf_.hasExpired() && action_) {
        action_();
    }
}

QtStatusBar::QtStatusBar() {
    qGuiApp->installEventFilter(this);
}

QtStatusBar::~QtStatusBar() = default;

std::unique_ptr<StatusItem> QtStatusBar::makeStatusItem() {
    return std::make_unique<QtStatusItem>(menu_);
}

void QtStatusBar::setMainMenu(MainMenu menu) {
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

bool QtStatusBar::eventFilter(QObject* watched, QEvent* event) {
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
