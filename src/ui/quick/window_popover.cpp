#include "ui/quick/window_popover.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include "ui/content/content_view.h"
#include "ui/content/popover_size.h"
#include "ui/quick/popover_views.h"
#include "ui/quick/shadow_item.h"

namespace korvel {

namespace {

constexpr int kGap = 4; ///< points between the item and the popover
/// After a close the views stay, for whoever looks again at once.
constexpr std::chrono::seconds kKeptLoaded(10);
constexpr double kClosingClick = 0.4; ///< seconds within which the click that closed it arrives

QRect toRect(const platform::Rectangle& r) {
    return QRectF(r.x, r.y, r.width, r.height).toRect();
}

/// Where a window of that size stands for an item at `anchor`: under it, or above where there is
/// no room, and always inside the screen's free area.
QPoint placeAt(const QRect& anchor, QSize size, const QRect& free) {
    int x = anchor.center().x() - size.width() / 2;
    int y = anchor.bottom() + 1 + kGap;
    if (y + size.height() > free.bottom() + 1) {
        y = anchor.top() - kGap - size.height();
    }
    x = std::max(free.left() + kGap, std::min(x, free.right() + 1 - kGap - size.width()));
    y = std::max(free.top() + kGap, std::min(y, free.bottom() + 1 - kGap - size.height()));
    return {x, y};
}

} // namespace

WindowPopover::WindowPopover(ContentView& root, PopoverDesktop desktop)
    : root_(root), desktop_(std::move(desktop)),
      observation_(root.observe([this] { contentWillChange(); })) {
    unloading_.setSingleShot(true);
    unloading_.setInterval(kKeptLoaded);
    connect(&unloading_, &QTimer::timeout, this, &WindowPopover::unload);
}

WindowPopover::~WindowPopover() = default;

void WindowPopover::show(platform::StatusItem& item) {
    if (shown()) {
        return;
    }
    unloading_.stop();
    if (!view_) {
        makeView();
    }
    item_ = &item;
    wasActive_ = false;
    // A host that does not tell where the item is has just been clicked there.
    const std::optional<platform::Rectangle> frame = item.frame();
    anchor_ = frame ? toRect(*frame) : QRect(QCursor::pos(), QSize(1, 1));
    // What has changed since it was last open is not to be seen to change.
    view_->rootObject()->setProperty("animated", false);
    render();
    dress();
    QMetaObject::invokeMethod(view_->rootObject(), "layOut");
    view_->rootObject()->setProperty("animated", true);
    place();
    view_->resize(view_->rootObject()->size().toSize()); // which the view by itself does later
    place();
    view_->show();
}

void WindowPopover::close() {
    if (shown()) {
        item_ = nullptr;
        view_->hide();
        view_->releaseResources();
        unloading_.start();
    }
}

bool WindowPopover::shown() const {
    return item_ != nullptr;
}

void WindowPopover::activate() {
    if (shown()) {
        view_->raise();
    }
}

void WindowPopover::makeKey() {
    if (shown()) {
        view_->requestActivate();
    }
}

bool WindowPopover::eventFilter(QObject* watched, QEvent* event) {
    if (watched != view_.get()) {
        return false;
    }
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
        !view_->rootObject()->property("menuShown").toBool()) { // which it closes first
        close();
        return true;
    }
    if (event->type() == QEvent::Close) { // by the window manager
        event->ignore();
        close();
        return true;
    }
    return false;
}

void WindowPopover::makeView() {
    bridge_ = std::make_unique<PopoverBridge>(root_, desktop_.words);
    render();
    view_ = makeQuickViews(*bridge_, colourScheme_,
                           Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint,
                           QStringLiteral("PopoverRoot.qml"));
    view_->installEventFilter(this);
    connect(view_.get(), &QWindow::activeChanged, this, &WindowPopover::activeChanged);
    connect(view_.get(), &QWindow::widthChanged, this, &WindowPopover::place);
    connect(view_.get(), &QWindow::heightChanged, this, &WindowPopover::place);
    view_->create();
}

void WindowPopover::unload() {
    view_.reset();
    bridge_.reset();
    if (desktop_.released) {
        // On a later turn, when what Qt itself deletes late is gone too.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!view_) {
                    desktop_.released();
                }
            },
            Qt::QueuedConnection);
    }
}

void WindowPopover::dress() {
    const bool blends = desktop_.blendsWindows && desktop_.blendsWindows();
    shadowed_ = blends && desktop_.declareShadow;
    view_->rootObject()->setProperty("rounded", blends);
    view_->rootObject()->setProperty("shadowed", shadowed_);
}

void WindowPopover::place() {
    if (!shown()) {
        return;
    }
    QScreen* screen = QGuiApplication::screenAt(anchor_.center());
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    view_->rootObject()->setProperty(
        "maximumHeight",
        popoverMaximumHeight(screen ? std::optional<double>(screen->availableGeometry().height())
                                    : std::nullopt));
    if (screen) {
        const QMargins margins = shadowMargins();
        view_->setScreen(screen);
        const QSize panel = view_->size().shrunkBy(margins);
        view_->setPosition(placeAt(anchor_, panel, screen->availableGeometry()) -
                           QPoint(margins.left(), margins.top()));
    }
    declareShadow();
}

QMargins WindowPopover::shadowMargins() const {
    return shadowed_ ? ShadowItem::kMargins : QMargins();
}

void WindowPopover::declareShadow() {
    if (desktop_.declareShadow) {
        desktop_.declareShadow(*view_, shadowMargins());
    }
}

void WindowPopover::contentWillChange() {
    if (!shown() || renderPending_) {
        return;
    }
    renderPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            renderPending_ = false;
            if (shown()) {
                render();
                dress(); // a compositor may have come or gone
            }
        },
        Qt::QueuedConnection);
}

void WindowPopover::render() {
    bridge_->setContent(root_.content());
}

void WindowPopover::activeChanged() {
    if (view_->isActive()) {
        wasActive_ = true;
        // Some window managers hear of it only once they look after the window.
        declareShadow();
    } else if (wasActive_ && shown()) {
        platform::StatusItem& item = *item_;
        close();
        item.ignoreClicks(kClosingClick);
    }
}

} // namespace korvel
