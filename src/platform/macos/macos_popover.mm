#include "platform/macos/macos_popover.h"

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include <utility>

#include "platform/macos/application.h"
#include "platform/macos/macos_status_bar.h"

@interface KorvelPopoverDelegate : NSObject <NSPopoverDelegate> {
  @public
    std::function<void()> closed_;
    __weak NSView* anchor_; ///< that the popover stands at
    BOOL asked_;            ///< this program closes it
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

- (void)popoverDidClose:(NSNotification*)notification {
    if (const auto closed = closed_) {
        closed();
    }
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
    parts_->controller.view = [[NSView alloc] init];
    parts_->popover.behavior = NSPopoverBehaviorTransient;
    parts_->popover.contentViewController = parts_->controller;
    parts_->popover.delegate = parts_->delegate;
}

MacosPopover::~MacosPopover() {
    // Its window may live on for the length of its fading, and nobody is left to be told.
    parts_->delegate->closed_ = nullptr;
    parts_->popover.delegate = nil;
    setContent(nullptr);
}

void MacosPopover::setContent(void* view) {
    [parts_->content removeFromSuperview];
    parts_->content = (__bridge NSView*)view;
    if (parts_->content != nil) {
        parts_->content.frame = parts_->controller.view.bounds;
        parts_->content.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
        [parts_->controller.view addSubview:parts_->content];
    }
}

void MacosPopover::setPreferredContentSize(double width, double height) {
    parts_->controller.preferredContentSize = NSMakeSize(width, height);
}

void MacosPopover::show(StatusItem& item) {
    NSView* button = (__bridge NSView*)static_cast<MacosStatusItem&>(item).button();
    if (button == nil || shown()) {
        return;
    }
    parts_->delegate->anchor_ = button;
    [parts_->popover showRelativeToRect:button.bounds ofView:button preferredEdge:NSRectEdgeMinY];
}

void MacosPopover::close() {
    parts_->delegate->asked_ = YES;
    [parts_->popover performClose:nil];
    parts_->delegate->asked_ = NO;
}

bool MacosPopover::shown() const {
    return parts_->popover.shown;
}

void MacosPopover::activate() {
    activateApplication();
}

void MacosPopover::makeKey() {
    [parts_->controller.view.window makeKeyAndOrderFront:nil];
}

void MacosPopover::drawNow() {
    [CATransaction flush]; // what layers were given is otherwise committed by the run loop
}

} // namespace korvel::platform
