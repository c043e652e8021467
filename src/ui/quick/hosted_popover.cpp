#include "ui/quick/hosted_popover.h"

#include <utility>

#include <QQuickItem>
#include <QQuickView>

#include "ui/content/popover_height.h"

namespace korvel {

namespace {

/// Of such a window Qt makes a native view, and no native window around it.
constexpr Qt::WindowFlags kNativeView = Qt::SubWindow | Qt::FramelessWindowHint;

} // namespace

HostedPopover::HostedPopover(ContentView& root, Words words, const MakeHost& makeHost)
    : views_(root, {.words = std::move(words), .flags = kNativeView}),
      host_(makeHost([this] { closed(); })) {
    views_.frame().setBordered(false);
    connect(&views_, &PopoverViews::loaded, this, &HostedPopover::loaded);
    connect(&views_, &PopoverViews::unloading, this, [this] { host_.setContent(nullptr); });
    connect(&views_, &PopoverViews::escaped, this, &HostedPopover::close);
}

void HostedPopover::show(platform::StatusItem& item, const platform::ActivationRequest& request) {
    if (shown()) {
        return;
    }
    views_.frame().setMaximumHeight(popoverMaximumHeight(host_.visibleScreenHeight()));
    if (!views_.prepare()) {
        return;
    }
    resize();
    host_.popover->show(item, request);
    if (shown()) {
        views_.show(); // in the host's window, where it now is, and not in one of its own
    } else {
        views_.hide();
    }
}

void HostedPopover::close() {
    host_.popover->close();
}

bool HostedPopover::shown() const {
    return host_.popover->shown();
}

void HostedPopover::activate(const platform::ActivationRequest& request) {
    host_.popover->activate(request);
}

void HostedPopover::makeKey() {
    if (shown()) {
        host_.popover->makeKey();
        views_.window()->requestActivate(); // the keys of that window
    }
}

void HostedPopover::drawNow() {
    views_.drawNow();
    host_.popover->drawNow();
}

void HostedPopover::loaded() {
    connect(views_.window()->rootObject(), &QQuickItem::heightChanged, this,
            &HostedPopover::resize);
    // Said before the view is made, or Qt would put it where it puts new windows: in the middle.
    views_.window()->setPosition(0, 0);
    // Qt names a native view by a number, which on this desktop is the view's address.
    host_.setContent(reinterpret_cast<void*>(views_.window()->winId())); // NOLINT
}

void HostedPopover::closed() {
    // Told late, when it has been opened again meanwhile.
    if (!shown()) {
        views_.hide();
    }
}

void HostedPopover::resize() {
    views_.fit();
    const QSizeF size = views_.window()->rootObject()->size();
    host_.setPreferredContentSize(size.width(), size.height());
}

} // namespace korvel
