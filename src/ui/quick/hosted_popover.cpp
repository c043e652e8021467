#include "ui/quick/hosted_popover.h"

#include <chrono>
#include <utility>

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>

#include "ui/content/content_view.h"
#include "ui/content/popover_size.h"
#include "ui/quick/popover_views.h"

namespace korvel {

namespace {

/// After a close the views stay, for whoever looks again at once.
constexpr std::chrono::seconds kKeptLoaded(10);

} // namespace

HostedPopover::HostedPopover(ContentView& root, Words words, const MakeHost& makeHost)
    : root_(root), words_(std::move(words)),
      observation_(root.observe([this] { contentWillChange(); })),
      host_(makeHost([this] { closed(); })) {
    unloading_.setSingleShot(true);
    unloading_.setInterval(kKeptLoaded);
    connect(&unloading_, &QTimer::timeout, this, &HostedPopover::unload);
}

HostedPopover::~HostedPopover() = default;

void HostedPopover::show(platform::StatusItem& item) {
    if (shown()) {
        return;
    }
    unloading_.stop();
    if (!view_) {
        makeViews();
    }
    // What has changed since it was last open is not to be seen to change.
    view_->rootObject()->setProperty("animated", false);
    limitHeight();
    render();
    QMetaObject::invokeMethod(view_->rootObject(), "layOut");
    view_->rootObject()->setProperty("animated", true);
    resize();
    host_.popover->show(item);
    if (shown()) {
        view_->show(); // in the host's window, where it now is, and not in one of its own
    } else {
        unloading_.start();
    }
}

void HostedPopover::close() {
    host_.popover->close();
}

bool HostedPopover::shown() const {
    return host_.popover->shown();
}

void HostedPopover::activate() {
    host_.popover->activate();
}

void HostedPopover::makeKey() {
    if (shown()) {
        host_.popover->makeKey();
        view_->requestActivate(); // the keys of that window
    }
}

bool HostedPopover::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_.get() && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
        !view_->rootObject()->property("menuShown").toBool()) { // which it closes first
        close();
        return true;
    }
    return false;
}

void HostedPopover::makeViews() {
    bridge_ = std::make_unique<PopoverBridge>(root_, words_);
    render();
    // A window of this kind is a native view without a native window.
    view_ = makeQuickViews(*bridge_, colourScheme_, Qt::SubWindow | Qt::FramelessWindowHint,
                           QStringLiteral("PopoverPane.qml"));
    view_->installEventFilter(this);
    connect(view_->rootObject(), &QQuickItem::heightChanged, this, &HostedPopover::resize);
    // On Qt's side a number that names the view.
    host_.setContent(reinterpret_cast<void*>(view_->winId())); // NOLINT
}

void HostedPopover::unload() {
    host_.setContent(nullptr);
    view_.reset();
    bridge_.reset();
}

void HostedPopover::closed() {
    if (view_) {
        view_->hide();
        view_->releaseResources();
        unloading_.start();
    }
}

void HostedPopover::limitHeight() {
    view_->rootObject()->setProperty("maximumHeight",
                                     popoverMaximumHeight(host_.visibleScreenHeight()));
}

void HostedPopover::resize() {
    const QSizeF size = view_->rootObject()->size();
    view_->resize(size.toSize()); // which the view by itself does later
    host_.setPreferredContentSize(size.width(), size.height());
}

void HostedPopover::contentWillChange() {
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
            }
        },
        Qt::QueuedConnection);
}

void HostedPopover::render() {
    bridge_->setContent(root_.content());
}

} // namespace korvel
