#include "platform/linux/session/status_notifier_item.h"

#include <utility>

namespace korvel::platform {

StatusNotifierItem::StatusNotifierItem(Calls calls) : calls_(std::move(calls)) {
    registerStatusNotifierTypes();
}

QString StatusNotifierItem::path() {
    return QStringLiteral("/StatusNotifierItem");
}

QString StatusNotifierItem::menuPath() {
    return QStringLiteral("/MenuBar");
}

void StatusNotifierItem::exportOn(QDBusConnection bus) {
    bus.registerObject(path(), this,
                       QDBusConnection::ExportScriptableSlots |
                           QDBusConnection::ExportScriptableSignals |
                           QDBusConnection::ExportScriptableProperties);
}

void StatusNotifierItem::setTitle(const StatusTitle& title) {
    // To tell of a new icon wakes the panel and has it fetch all sizes.
    const bool changed = !title_ || !TrayPixmapCache::lookAlike(*title_, title);
    title_ = title;
    if (changed) {
        Q_EMIT NewIcon();
    }
}

void StatusNotifierItem::setToolTip(const QString& text) {
    if (text != toolTip_) {
        toolTip_ = text;
        Q_EMIT NewToolTip();
    }
}

std::string StatusNotifierItem::takeToken() {
    return std::exchange(token_, {});
}

TrayPixmaps StatusNotifierItem::iconPixmap() {
    if (calls_.pictureFetched) {
        QMetaObject::invokeMethod(this, calls_.pictureFetched, Qt::QueuedConnection);
    }
    return title_ ? pixmaps_.of(*title_) : TrayPixmaps();
}

TrayToolTip StatusNotifierItem::toolTip() const {
    return {.iconName = {}, .pixmaps = {}, .title = toolTip_, .text = {}};
}

void StatusNotifierItem::Activate(int x, int y) {
    tell(&Calls::activated, x, y);
}

void StatusNotifierItem::SecondaryActivate(int, int) {
    takeToken(); // which was for this click
}

void StatusNotifierItem::ContextMenu(int x, int y) {
    tell(&Calls::menuWanted, x, y);
}

void StatusNotifierItem::Scroll(int, const QString&) {}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    token_ = token.toStdString();
}

void StatusNotifierItem::tell(const std::function<void(const ActivationRequest&)> Calls::*call,
                              int x, int y) {
    if (!(calls_.*call)) {
        return;
    }
    ActivationRequest click{.place = Point{static_cast<double>(x), static_cast<double>(y)},
                            .token = takeToken()};
    QMetaObject::invokeMethod(
        this, [this, call, click = std::move(click)] { (calls_.*call)(click); },
        Qt::QueuedConnection);
}

} // namespace korvel::platform
