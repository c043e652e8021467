#import "platform/macos/native/kit/appkit.h"

#include <algorithm>

#include "platform/macos/native/runtime/objects.h"

using korvel::kit::desktop;

@implementation NSResponder

- (NSResponder*)nextResponder {
    return nil;
}

@end

@implementation NSView {
    NSRect frame_;
    NSAutoresizingMaskOptions mask_;
    std::vector<NSView*> subviews_;
    __weak NSView* superview_;
    __weak NSWindow* window_; ///< of a content view
}

- (NSRect)frame {
    return frame_;
}

- (void)setFrame:(NSRect)frame {
    frame_.origin = frame.origin;
    [self setFrameSize:frame.size];
}

- (void)setFrameOrigin:(NSPoint)origin {
    frame_.origin = origin;
    if (desktop().onFrame) {
        desktop().onFrame(self);
    }
}

- (void)setFrameSize:(NSSize)size {
    const NSSize old = frame_.size;
    frame_.size = size;
    if (old.width != size.width || old.height != size.height) {
        const std::vector<NSView*> subviews = subviews_;
        for (NSView* view : subviews) {
            [view resizeWithOldSuperviewSize:old];
        }
    }
    if (desktop().onFrame) {
        desktop().onFrame(self);
    }
}

/// What of `change` a flexible length gets: the flexible ones of an axis share it evenly.
static CGFloat shareOf(NSUInteger mask, NSUInteger flag, NSUInteger axis, CGFloat change) {
    const int flexible = __builtin_popcountl(mask & axis);
    return (mask & flag) != 0 ? change / flexible : 0;
}

- (void)resizeWithOldSuperviewSize:(NSSize)oldSize {
    constexpr NSUInteger kMinXMargin = 1;
    constexpr NSUInteger kMinYMargin = 8;
    constexpr NSUInteger kHorizontal = 1 | 2 | 4;
    constexpr NSUInteger kVertical = 8 | 16 | 32;
    if (mask_ == 0) {
        return;
    }
    const NSSize size = superview_.frame.size;
    const CGFloat dx = size.width - oldSize.width;
    const CGFloat dy = size.height - oldSize.height;
    NSRect frame = frame_;
    frame.origin.x += shareOf(mask_, kMinXMargin, kHorizontal, dx);
    frame.origin.y += shareOf(mask_, kMinYMargin, kVertical, dy);
    frame.size.width += shareOf(mask_, NSViewWidthSizable, kHorizontal, dx);
    frame.size.height += shareOf(mask_, NSViewHeightSizable, kVertical, dy);
    self.frame = frame;
}

- (NSRect)bounds {
    return NSRect{{0, 0}, frame_.size};
}

- (void)setBounds:(NSRect)bounds {
    korvel::objc::misuse("bounds that differ from the frame are not modelled");
}

- (NSAutoresizingMaskOptions)autoresizingMask {
    return mask_;
}

- (void)setAutoresizingMask:(NSAutoresizingMaskOptions)mask {
    mask_ = mask;
}

- (BOOL)isFlipped {
    return NO;
}

- (NSWindow*)window {
    NSView* superview = superview_;
    return superview != nil ? superview.window : window_;
}

- (void)kitMoveToWindow:(NSWindow*)window {
    window_ = window;
}

- (NSView*)superview {
    return superview_;
}

- (void)kitSetSuperview:(NSView*)superview {
    superview_ = superview;
}

- (const std::vector<NSView*>&)kitSubviews {
    return subviews_;
}

- (NSResponder*)nextResponder {
    NSView* superview = superview_;
    return superview != nil ? superview : window_;
}

- (CGFloat)kitTopInWindow {
    NSView* superview = superview_;
    if (superview == nil) {
        return 0;
    }
    const CGFloat top = superview.flipped
                            ? frame_.origin.y
                            : superview.frame.size.height - frame_.origin.y - frame_.size.height;
    return superview.kitTopInWindow + top;
}

- (void)addSubview:(NSView*)view {
    [view removeFromSuperview];
    subviews_.push_back(view);
    [view kitSetSuperview:self];
}

- (void)kitRemoveSubview:(NSView*)view {
    const auto place = std::find(subviews_.begin(), subviews_.end(), view);
    if (place == subviews_.end()) {
        korvel::objc::misuse("a view that is to be removed is not in its superview");
    }
    subviews_.erase(place);
    [view kitSetSuperview:nil];
}

- (void)removeFromSuperview {
    NSView* superview = superview_;
    if (superview != nil) {
        [superview kitRemoveSubview:self];
    }
}

@end

@implementation NSWindow {
    NSView* contentView_;
    __weak NSResponder* firstResponder_;
}

- (NSView*)contentView {
    return contentView_;
}

- (void)setContentView:(NSView*)view {
    [contentView_ kitMoveToWindow:nil];
    contentView_ = view;
    [view kitMoveToWindow:self];
}

- (NSResponder*)firstResponder {
    return firstResponder_;
}

- (void)setFirstResponder:(NSResponder*)responder {
    firstResponder_ = responder;
}

- (BOOL)isVisible {
    const auto& windows = desktop().windows;
    return std::find(windows.begin(), windows.end(), self) != windows.end();
}

- (BOOL)isKeyWindow {
    return desktop().keyWindow == self;
}

- (void)kitOrderOut {
    auto& windows = desktop().windows;
    windows.erase(std::remove(windows.begin(), windows.end(), self), windows.end());
    if (desktop().keyWindow == self) {
        desktop().keyWindow = nil;
    }
}

- (void)makeKeyAndOrderFront:(id)sender {
    desktop().log.emplace_back("makeKeyAndOrderFront");
    NSWindow* const kept = self; // while it is in no list
    [self kitOrderOut];
    desktop().windows.push_back(kept);
    desktop().keyWindow = kept;
}

@end

@implementation NSViewController {
    NSView* view_;
    NSSize preferredContentSize_;
    __weak NSPopover* popover_;
}

- (NSView*)view {
    return view_;
}

- (void)setView:(NSView*)view {
    view_ = view;
}

- (NSSize)preferredContentSize {
    return preferredContentSize_;
}

- (void)setPreferredContentSize:(NSSize)size {
    preferredContentSize_ = size;
    [popover_ kitFollowPreferredSize];
}

- (NSPopover*)kitPopover {
    return popover_;
}

- (void)setKitPopover:(NSPopover*)popover {
    popover_ = popover;
}

@end

@implementation NSControl {
    __weak id target_;
    SEL action_;
}

- (id)target {
    return target_;
}

- (void)setTarget:(id)target {
    target_ = target;
}

- (SEL)action {
    return action_;
}

- (void)setAction:(SEL)action {
    action_ = action;
}

- (BOOL)sendAction:(SEL)action to:(id)target {
    return [NSApplication.sharedApplication sendAction:action to:target from:self];
}

- (void)performClick:(id)sender {
    if (action_ != nullptr) {
        [self sendAction:action_ to:target_];
    }
}

@end

@implementation NSButton {
    NSAttributedString* attributedTitle_;
}

- (NSAttributedString*)attributedTitle {
    return attributedTitle_;
}

- (void)setAttributedTitle:(NSAttributedString*)title {
    attributedTitle_ = title;
}

@end
