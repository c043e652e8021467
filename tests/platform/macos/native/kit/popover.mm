#import "platform/macos/native/kit/appkit.h"

#include <algorithm>
#include <utility>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/objects.h"

using korvel::kit::desktop;

@implementation NSPopover {
    __weak id<NSPopoverDelegate> delegate_;
    NSPopoverBehavior behavior_;
    BOOL animates_;
    NSViewController* contentViewController_;
    NSSize contentSize_;
    NSWindow* window_;
    __weak NSView* anchor_;
    NSRect rect_;
    NSRectEdge edge_;
    BOOL open_;   ///< and not fading away
    int endings_; ///< closings whose end is not yet told
    std::vector<NSSize> steps_;
}

- (instancetype)init {
    self = [super init];
    animates_ = YES;
    return self;
}

- (void)dealloc {
    [self kitLeaveScreen];
}

- (id<NSPopoverDelegate>)delegate {
    return delegate_;
}

- (void)setDelegate:(id<NSPopoverDelegate>)delegate {
    delegate_ = delegate;
}

- (NSPopoverBehavior)behavior {
    return behavior_;
}

- (void)setBehavior:(NSPopoverBehavior)behavior {
    behavior_ = behavior;
}

- (BOOL)animates {
    return animates_;
}

- (void)setAnimates:(BOOL)animates {
    animates_ = animates;
}

- (NSViewController*)contentViewController {
    return contentViewController_;
}

- (void)setContentViewController:(NSViewController*)controller {
    contentViewController_.kitPopover = nil;
    contentViewController_ = controller;
    controller.kitPopover = self;
    [self kitFollowPreferredSize];
}

- (NSSize)contentSize {
    return contentSize_;
}

- (NSRectEdge)kitEdge {
    return edge_;
}

- (NSRect)kitRect {
    return rect_;
}

- (NSView*)kitAnchor {
    return anchor_;
}

- (BOOL)isShown {
    return open_ || (endings_ > 0 && desktop().whileFading == korvel::kit::WhileFading::stillShown);
}

- (void)showRelativeToRect:(NSRect)rectangle ofView:(NSView*)view preferredEdge:(NSRectEdge)edge {
    NSView* content = contentViewController_.view;
    if (content == nil) {
        korvel::objc::misuse("a popover without content is not shown");
    }
    if (view.window == nil) {
        korvel::objc::misuse("a popover stands at a view that is in a window");
    }
    rect_ = rectangle;
    edge_ = edge;
    anchor_ = view;
    desktop().log.emplace_back("show");
    if (open_) {
        return;
    }
    if (desktop().reopening == korvel::kit::Reopening::endsTheFading) {
        [self kitFinishAnimations];
    }
    open_ = YES;
    desktop().popovers.push_back(self);
    steps_.clear();
    [self kitFollowPreferredSize];
    [self kitLeaveScreenWindow];
    window_ = [[NSWindow alloc] init];
    window_.contentView = content;
    desktop().windows.push_back(window_);
    content.frame = NSRect{{0, 0}, contentSize_};
}

- (void)kitFollowPreferredSize {
    const NSSize preferred = contentViewController_.preferredContentSize;
    NSView* content = contentViewController_.view;
    const NSSize from = content.frame.size;
    contentSize_ = preferred.width > 0 && preferred.height > 0 ? preferred : from;
    steps_.clear();
    if (content.window == nil) {
        return; // it takes the size when it opens
    }
    const int count = animates_ ? desktop().stepsOfAnimation : 1;
    for (int i = 1; i <= count; ++i) {
        const CGFloat part = static_cast<CGFloat>(i) / count;
        steps_.push_back(NSSize{from.width + (contentSize_.width - from.width) * part,
                                from.height + (contentSize_.height - from.height) * part});
    }
    if (!animates_) {
        [self kitAnimateStep];
    }
}

- (BOOL)kitAnimateStep {
    if (steps_.empty()) {
        return NO;
    }
    const NSSize size = steps_.front();
    steps_.erase(steps_.begin());
    [contentViewController_.view setFrameSize:size];
    return YES;
}

- (void)performClose:(id)sender {
    if (!open_) {
        return;
    }
    id<NSPopoverDelegate> delegate = delegate_;
    if ([delegate respondsToSelector:@selector(popoverShouldClose:)] &&
        ![delegate popoverShouldClose:self]) {
        return;
    }
    [self close];
}

- (void)close {
    if (!open_) {
        return;
    }
    NSPopover* const kept = self; // for as long as it fades
    id<NSPopoverDelegate> delegate = delegate_;
    if ([delegate respondsToSelector:@selector(popoverWillClose:)]) {
        [delegate popoverWillClose:[NSNotification notificationOf:kept]];
    }
    open_ = NO;
    ++endings_;
    auto& open = desktop().popovers;
    open.erase(std::remove(open.begin(), open.end(), self), open.end());
    desktop().fading.push_back(kept);
    if (!animates_) {
        [self kitFinishAnimations];
    }
}

- (void)kitFinishAnimations {
    NSPopover* const kept = self;
    while ([self kitAnimateStep]) {
    }
    while (endings_ > 0) {
        auto& fading = desktop().fading;
        fading.erase(std::find(fading.begin(), fading.end(), kept));
        if (!open_) {
            [self kitLeaveScreenWindow];
        }
        id<NSPopoverDelegate> delegate = delegate_;
        if ([delegate respondsToSelector:@selector(popoverDidClose:)]) {
            [delegate popoverDidClose:[NSNotification notificationOf:kept]];
        }
        --endings_;
    }
}

- (void)kitPressedOutside {
    if (behavior_ == NSPopoverBehaviorTransient) {
        [self performClose:nil];
    }
}

- (void)kitLeaveScreenWindow {
    [window_ kitOrderOut];
    window_.contentView = nil;
    window_ = nil;
}

- (void)kitLeaveScreen {
    auto& open = desktop().popovers;
    open.erase(std::remove(open.begin(), open.end(), self), open.end());
    [self kitLeaveScreenWindow];
}

@end
