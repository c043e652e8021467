#include "platform/macos/macos_popover.h"

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include <utility>

#include "platform/macos/macos_application.h"
#include "platform/macos/macos_status_bar.h"

@interface KorvelPopoverDelegate : NSObject <NSPopoverDelegate> {
  @public
    std::function<void()> closed_;
    __weak NSView* anchor_; ///< that the popover stands at
    BOOL asked_;            ///< this program closes it
    BOOL closing_;          ///< it has begun to close, and was not opened since
}
@end

@implementation KorvelPopoverDelegate

- (BOOL)popoverShouldClose:(NSPopover*)popover {
    // The press that would close it is the first half of the click that the item acts on, which
    // would open it again.
    NSEvent* event = NSApplication.sharedApplication.currentEvent;
    return asked_ || event.type != NSEventTypeLeftMouseDown || event.window == nil ||
           event.window != anchor_.window;
}

- (void)popoverWillClose:(NSNotification*)notification {
    closing_ = YES;
}

// Comes when it has faded. By then it may have been opened again.
- (void)popoverDidClose:(NSNotification*)notification {
    NSPopover* popover = notification.object;
    if (!closing_ && popover.shown) {
        return;
    }
    if (const auto closed = closed_) {
        closed();
    }
}

@end

/// Around the content, which keeps its size and stays at the top left whatever size the popover has
/// at the moment: whose view it is has a size of its own for it, and counts from the top.
@interface KorvelPopoverView : NSView
@end

@implementation KorvelPopoverView

- (BOOL)isFlipped {
    return YES;
}

@end

namespace korvel::platform {

struct MacosPopover::Parts {
    NSPopover* popover;
    NSViewController* controller;
    KorvelPopoverDelegate* delegate;
    NSView* content;
};

MacosPopover::MacosPopover(std::function<void()> closed)
    : parts_(new Parts{[[NSPopover alloc] init],
                       [[NSViewController alloc] init],
                       [[KorvelPopoverDelegate alloc] init],
                       nil}) {
    parts_->delegate->closed_ = std::move(closed);
    parts_->controller.view = [[KorvelPopoverView alloc] init];
    parts_->popover.behavior = NSPopoverBehaviorTransient;
    parts_->popover.contentViewController = parts_->controller;
    parts_->popover.delegate = parts_->delegate;
}

MacosPopover::~MacosPopover() {
    // Its window may live on for the length of its fading, and nobody is left to be told.
    parts_->delegate->closed_ = nullptr;
    setContent(nullptr);
}

void MacosPopover::setContent(void* view) {
    [parts_->content removeFromSuperview];
    parts_->content = (__bridge NSView*)view;
    if (parts_->content != nil) {
        parts_->content.autoresizingMask = NSViewNotSizable;
        [parts_->content setFrameOrigin:NSMakePoint(0, 0)];
        [parts_->controller.view addSubview:parts_->content];
    }
}

void MacosPopover::setPreferredContentSize(double width, double height) {
    // The content has its new size at once; only opening and closing are animated.
    parts_->popover.animates = NO;
    parts_->controller.preferredContentSize = NSMakeSize(width, height);
    parts_->popover.animates = YES;
}

void MacosPopover::show(StatusItem& item, const ActivationRequest& /*request*/) {
    NSView* button = (__bridge NSView*)static_cast<MacosStatusItem&>(item).button();
    if (button == nil || shown()) {
        return;
    }
    parts_->delegate->anchor_ = button;
    parts_->delegate->closing_ = NO;
    [parts_->popover showRelativeToRect:button.bounds ofView:button preferredEdge:NSRectEdgeMinY];
}

void MacosPopover::close() {
    parts_->delegate->asked_ = YES;
    [parts_->popover performClose:nil];
    parts_->delegate->asked_ = NO;
}

bool MacosPopover::shown() const {
    return parts_->popover.shown && !parts_->delegate->closing_;
}

void MacosPopover::activate(const ActivationRequest& /*request*/) {
    activateApplication();
}

void MacosPopover::makeKey() {
    [parts_->controller.view.window makeKeyAndOrderFront:nil];
}

void MacosPopover::drawNow() {
    [CATransaction flush]; // what layers were given is otherwise committed by the run loop
}

} // namespace korvel::platform
