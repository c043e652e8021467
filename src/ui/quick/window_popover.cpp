#include "ui/quick/window_popover.h"

#include <chrono>
#include <optional>
#include <utility>

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include "ui/content/popover_height.h"
#include "ui/quick/drawn_length.h"
#include "ui/quick/popover_place.h"
#include "ui/quick/shadow_item.h"

namespace korvel {

namespace {

constexpr int kAsks = 3;  ///< for one size, of a desktop that sets another
constexpr int kMoves = 3; ///< to one place, of a desktop that chooses another
constexpr auto kMovedAgain = std::chrono::seconds(2); ///< after it was placed
/// How long it is without the keyboard before that closes it. A menu that ends takes it from the
/// window and gives it back, on a busy machine a moment later.
constexpr auto kLeft = std::chrono::milliseconds(100);
/// How long after it was closed by a click, a click on the item is taken for that one, which the
/// panel hands on. On a busy machine that takes longer; so it is as long as `kLateClick` where it
/// can be asked whether a button was pressed since.
constexpr auto kClosingClick = std::chrono::milliseconds(400);
constexpr auto kLateClick = std::chrono::seconds(3);

double seconds(std::chrono::duration<double> time) {
    return time.count();
}

constexpr Qt::WindowFlags kTool = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;

QRect toRect(const platform::Rectangle& r) {
    return QRectF(r.x, r.y, r.width, r.height).toRect();
}

/// The screen that holds what the popover stands under; null where there is none at all.
QScreen* screenOf(const QRect& anchor) {
    QScreen* screen = QGuiApplication::screenAt(anchor.center());
    return screen ? screen : QGuiApplication::primaryScreen();
}

} // namespace

WindowPopover::WindowPopover(ContentView& root, PopoverDesktop desktop)
    : desktop_(std::move(desktop)),
      views_(root, {.words = desktop_.words,
                    .flags = kTool,
                    .awakeWords = desktop_.awakeWords,
                    .appearance = std::move(desktop_.appearance),
                    .threadsAreToBeHad = desktop_.threadsAreToBeHad}) {
    connect(&views_, &PopoverViews::loaded, this, &WindowPopover::loaded);
    connect(&views_, &PopoverViews::unloading, this, &WindowPopover::unloading);
    connect(&views_, &PopoverViews::rendered, this, &WindowPopover::dress);
    connect(&views_, &PopoverViews::escaped, this, &WindowPopover::close);
    connect(&views_.frame(), &PopoverFrame::shownChanged, this, &WindowPopover::cut);
    left_.setSingleShot(true);
    left_.setInterval(kLeft);
    connect(&left_, &QTimer::timeout, this, &WindowPopover::closeByClick);
}

void WindowPopover::show(platform::StatusItem& item, const platform::ActivationRequest& request) {
    if (shown() || (!views_.window() && desktop_.startsAnew && desktop_.startsAnew())) {
        return;
    }
    item_ = &item;
    wasActive_ = false;
    asks_ = 0;
    // A host that does not tell where the item is has just been clicked there.
    const std::optional<platform::Rectangle> frame = item.frame();
    anchor_ = frame              ? toRect(*frame)
              : desktop_.placing ? desktop_.placing->whereAsked(request)
                                 : QRect(QCursor::pos(), QSize(1, 1));
    panel_ = desktop_.placing ? desktop_.placing->panelAt(anchor_.center()) : QRect();
    dress();
    if (desktop_.stand) {
        standsOn_ = desktop_.stand->open(request.place, [this] { close(); });
    }
    place(); // on its screen, before it takes its size there
    if (!views_.prepare()) {
        close();
        return;
    }
    place();
    if (desktop_.placing) {
        desktop_.placing->aboutToShow(*views_.window(), request);
    }
    views_.show();
    if (desktop_.placing) {
        desktop_.placing->shown(
            *views_.window(), [this] { return margins(); }, [this] { closeByPress(); });
    }
}

void WindowPopover::close() {
    if (shown()) {
        item_ = nullptr;
        left_.stop();
        views_.hide();
        if (desktop_.stand) {
            desktop_.stand->closed();
        }
        if (desktop_.placing) {
            desktop_.placing->closed();
        }
    }
}

bool WindowPopover::shown() const {
    return item_ != nullptr;
}

void WindowPopover::activate(const platform::ActivationRequest& request) {
    if (shown()) {
        token_ = request.token;
        views_.window()->raise();
        if (desktop_.placing) {
            desktop_.placing->answered(request);
        }
    }
}

void WindowPopover::makeKey() {
    if (!shown()) {
        return;
    }
    const std::string token = std::exchange(token_, {});
    if (desktop_.makeKey) {
        desktop_.makeKey(*views_.window(), token);
    } else {
        views_.window()->requestActivate();
    }
}

void WindowPopover::drawNow() {
    views_.drawNow();
}

bool WindowPopover::eventFilter(QObject* watched, QEvent* event) {
    if (watched == views_.window() && event->type() == QEvent::Close) { // by the window manager
        event->ignore();
        close();
        return true;
    }
    return false;
}

void WindowPopover::loaded() {
    QQuickView* window = views_.window();
    window->installEventFilter(this);
    connect(window, &QWindow::activeChanged, this, &WindowPopover::activeChanged);
    connect(window, &QWindow::widthChanged, this, &WindowPopover::resized);
    connect(window, &QWindow::heightChanged, this, &WindowPopover::resized);
    connect(window, &QWindow::xChanged, this, &WindowPopover::moved);
    connect(window, &QWindow::yChanged, this, &WindowPopover::moved);
    window->create();
    if (desktop_.stand) {
        desktop_.stand->adopt(*window);
    }
    // Before the window takes the size on a later turn.
    const auto follow = [this] {
        fixSize();
        if (desktop_.sizeIsFixed) {
            // Qt's Wayland lets no window out of its least and greatest size, those of a moment
            // ago.
            views_.fit();
        }
    };
    connect(window->rootObject(), &QQuickItem::widthChanged, this, follow);
    connect(window->rootObject(), &QQuickItem::heightChanged, this, follow);
    place();
}

void WindowPopover::unloading() {
    if (desktop_.released) {
        // On a later turn, when what Qt itself deletes late is gone too.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!views_.window()) {
                    desktop_.released();
                }
            },
            Qt::QueuedConnection);
    }
}

/// Asked each time it is rendered: a compositor may have come or gone.
void WindowPopover::dress() {
    const bool blends = desktop_.blendsWindows && desktop_.blendsWindows();
    views_.frame().setRounded(blends);
    views_.frame().setShadowed(blends && (desktop_.declareShadow || desktop_.stand));
}

void WindowPopover::place() {
    if (!shown()) {
        return;
    }
    QScreen* screen = desktop_.stand ? standsOn_.data() : screenOf(anchor_);
    views_.frame().setMaximumHeight(popoverMaximumHeight(
        screen ? std::optional<double>(screen->availableGeometry().height()) : std::nullopt));
    if (!views_.window()) {
        return;
    }
    if (screen && !desktop_.stand) {
        views_.window()->setScreen(screen);
    }
    views_.followScale();
    fixSize();
    cut();
    if (desktop_.stand) {
        desktop_.stand->fit(*views_.window(), margins());
        return;
    }
    if (screen) {
        const QMargins margins = this->margins();
        const QSize panel = views_.window()->size().shrunkBy(margins);
        const QRect free = freeBeside(panel_, screen->geometry(), screen->availableGeometry());
        wanted_ = placeAt(anchor_, panel, free) - QPoint(margins.left(), margins.top());
        moves_ = 0;
        movedAgainUntil_.setRemainingTime(kMovedAgain);
        views_.window()->setPosition(wanted_);
    }
    declareShadow();
}

/// At no moment is the least size greater than the greatest.
void WindowPopover::fixSize() {
    QQuickView* window = views_.window();
    const QSize size = views_.size();
    // On a scaled screen Qt asks X11 window managers for sizes in steps of one logical pixel, in
    // whole pixels of the screen; counted from this size, no step is lacking to it.
    if (desktop_.isX11) {
        window->setBaseSize(size);
    }
    if (!desktop_.sizeIsFixed) {
        return;
    }
    window->setMinimumSize(size.boundedTo(window->maximumSize()));
    window->setMaximumSize(size);
    window->setMinimumSize(size);
}

/// Leaves of the window what is to be seen, and of that what is drawn: a window manager may have
/// set another size.
void WindowPopover::cut() {
    QQuickView* window = views_.window();
    if (!desktop_.isX11 || !window) {
        return;
    }
    const qreal scale = views_.scale();
    const QSize drawn(drawnLength(window->width(), scale), drawnLength(window->height(), scale));
    const QSize seen = views_.frame().shown().toSize().boundedTo(drawn);
    const QRegion mask = seen == window->size() ? QRegion() : QRegion(QRect(QPoint(), seen));
    if (mask != window->mask()) {
        window->setMask(mask);
    }
}

/// What of the window is not the panel.
QMargins WindowPopover::margins() {
    const QSize shown = views_.frame().shown().toSize();
    const qreal scale = views_.scale();
    const QSize spare =
        QSize(lengthDrawing(shown.width(), scale), lengthDrawing(shown.height(), scale)) - shown;
    return shadowMargins() + QMargins(0, 0, spare.width(), spare.height());
}

QMargins WindowPopover::shadowMargins() {
    return views_.frame().shadowed() ? ShadowItem::kMargins : QMargins();
}

void WindowPopover::declareShadow() {
    if (desktop_.declareShadow) {
        desktop_.declareShadow(*views_.window(), shadowMargins());
    }
}

void WindowPopover::resized() {
    place();
    if (!checking_) {
        checking_ = true;
        QMetaObject::invokeMethod(this, &WindowPopover::checkSize, Qt::QueuedConnection);
    }
}

/// Some window managers move a window as they take it, by a frame that they then do not draw.
void WindowPopover::moved() {
    if (desktop_.placing && shown() && views_.window()->isVisible() &&
        views_.window()->position() != wanted_ && moves_ < kMoves &&
        !movedAgainUntil_.hasExpired()) {
        ++moves_;
        views_.window()->setPosition(wanted_);
    }
}

/// A compositor's answer to the size that the window had a moment ago may come when the views have
/// grown, and undoes it; so they ask for theirs again. One that tiles its windows has its way.
void WindowPopover::checkSize() {
    checking_ = false;
    if (!shown()) { // and the views may be gone
        return;
    }
    const QSize wanted = views_.size();
    if (views_.window()->size() == wanted) {
        return;
    }
    asks_ = wanted == asked_ ? asks_ + 1 : 1;
    asked_ = wanted;
    if (asks_ <= kAsks) {
        views_.fit();
    }
}

void WindowPopover::activeChanged() {
    if (views_.window()->isActive()) {
        wasActive_ = true;
        left_.stop();
        // Some window managers hear of it only once they look after the window.
        declareShadow();
    } else if (wasActive_ && shown()) {
        left_.start();
    }
}

/// The same click may be one on the item.
void WindowPopover::closeByClick() {
    if (shown()) {
        platform::StatusItem& item = *item_;
        close();
        item.ignoreClicks(seconds(kClosingClick));
    }
}

void WindowPopover::closeByPress() {
    if (!shown()) {
        return;
    }
    platform::StatusItem& item = *item_;
    closeByClick();
    // An item whose place is known has a window, which hears of a press as soon as this does.
    if (!item.frame() && desktop_.placing->awaitPress(kLateClick)) {
        item.ignoreLateClick(seconds(kLateClick), desktop_.placing->wasPressed);
    }
}

} // namespace korvel
