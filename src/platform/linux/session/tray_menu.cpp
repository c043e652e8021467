#include "platform/linux/session/tray_menu.h"

#include <algorithm>
#include <utility>

#include <QAction>
#include <QList>
#include <QMenu>

#include "platform/linux/session/dbus_menu.h"

namespace korvel::platform {

TrayMenu::TrayMenu() : exported_(std::make_unique<DBusMenu>()) {}

TrayMenu::~TrayMenu() = default;

void TrayMenu::setItems(const std::vector<MenuItem>& items) {
    items_.clear();
    for (const MenuItem& item : items) {
        if (item.title.empty() || item.action) {
            items_.push_back({QString::fromStdString(item.title), item.action});
        }
    }
    update();
}

void TrayMenu::setSummary(const QString& text) {
    if (text != summary_) {
        summary_ = text;
        update();
    }
}

void TrayMenu::setOpenAction(std::function<void()> action) {
    open_ = std::move(action);
    update();
}

QMenu& TrayMenu::window() {
    if (!window_) {
        window_ = std::make_unique<QMenu>();
        fillWindow();
    }
    return *window_;
}

void TrayMenu::update() {
    entries_.clear();
    if (!summary_.isEmpty()) {
        entries_.push_back({summary_, open_});
        entries_.push_back({});
    }
    entries_.insert(entries_.end(), items_.begin(), items_.end());
    exported_->setEntries(entries_);
    if (window_) {
        fillWindow();
    }
}

/// Texts are changed in place, because the menu may be open.
void TrayMenu::fillWindow() {
    const QList<QAction*> before = window_->actions();
    const bool sameShape =
        std::equal(before.begin(), before.end(), entries_.begin(), entries_.end(),
                   [](const QAction* action, const TrayMenuEntry& entry) {
                       return action->isSeparator() == entry.text.isEmpty();
                   });
    if (!sameShape) {
        window_->clear();
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            if (entries_[i].text.isEmpty()) {
                window_->addSeparator();
            } else {
                QObject::connect(window_->addAction(QString()), &QAction::triggered, window_.get(),
                                 [this, i] { run(i); });
            }
        }
    }
    const QList<QAction*> actions = window_->actions();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        // An ampersand marks the key of an entry, unless there are two.
        actions[static_cast<qsizetype>(i)]->setText(
            QString(entries_[i].text).replace(QLatin1Char('&'), QLatin1String("&&")));
    }
}

void TrayMenu::run(std::size_t entry) const {
    if (const auto action = entries_[entry].action) { // which may change the entries
        action();
    }
}

} // namespace korvel::platform
