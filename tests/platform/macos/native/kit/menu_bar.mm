#import "platform/macos/native/kit/appkit.h"

#include <algorithm>

#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

using korvel::kit::desktop;

@implementation NSStatusBarButton
@end

@implementation NSStatusItem {
    CGFloat length_;
    NSWindow* window_; ///< in the bar
    NSStatusBarButton* button_;
}

- (instancetype)initWithKitLength:(CGFloat)length {
    self = [super init];
    length_ = length;
    if (desktop().givesButtons) {
        button_ = [[NSStatusBarButton alloc] init];
        button_.frame = NSRect{{0, 0}, {60, 22}};
        window_ = [[NSWindow alloc] init];
        window_.contentView = button_;
    }
    desktop().items.push_back(self);
    return self;
}

- (void)dealloc {
    auto& items = desktop().items;
    items.erase(std::remove(items.begin(), items.end(), self), items.end());
}

- (CGFloat)length {
    return length_;
}

- (NSStatusBarButton*)button {
    return button_;
}

@end

@implementation NSStatusBar

+ (NSStatusBar*)systemStatusBar {
    if (desktop().statusBar == nil) {
        desktop().statusBar = [[NSStatusBar alloc] init];
    }
    return desktop().statusBar;
}

- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    return [[NSStatusItem alloc] initWithKitLength:length];
}

@end

@implementation NSMenuItem {
    NSString* title_;
    SEL action_;
    NSString* keyEquivalent_;
    BOOL separator_;
    __weak id target_;
    NSMenu* submenu_;
}

+ (NSMenuItem*)separatorItem {
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:[[NSString alloc] init]
                                                  action:nullptr
                                           keyEquivalent:[[NSString alloc] init]];
    item->separator_ = YES;
    return item;
}

- (instancetype)initWithTitle:(NSString*)title
                       action:(SEL)action
                keyEquivalent:(NSString*)keyEquivalent {
    self = [super init];
    if (title == nil || keyEquivalent == nil) {
        korvel::objc::misuse("a menu item's title and key are never nil");
    }
    title_ = title;
    action_ = action;
    keyEquivalent_ = keyEquivalent;
    return self;
}

- (NSString*)title {
    return title_;
}

- (SEL)action {
    return action_;
}

- (NSString*)keyEquivalent {
    return keyEquivalent_;
}

- (BOOL)isSeparatorItem {
    return separator_;
}

- (id)target {
    return target_;
}

- (void)setTarget:(id)target {
    target_ = target;
}

- (NSMenu*)submenu {
    return submenu_;
}

- (void)setSubmenu:(NSMenu*)submenu {
    submenu_ = submenu;
}

- (id)kitReceiver {
    id target = target_;
    if (target == nil) {
        return [NSApplication.sharedApplication targetForAction:action_];
    }
    return [target respondsToSelector:action_] ? target : nil;
}

- (BOOL)isEnabled {
    return action_ != nullptr && [self kitReceiver] != nil;
}

- (void)kitChoose {
    if (self.enabled) {
        [NSApplication.sharedApplication sendAction:action_ to:target_ from:self];
    }
}

@end

@implementation NSMenu {
    NSString* title_;
    std::vector<NSMenuItem*> items_;
}

- (instancetype)initWithTitle:(NSString*)title {
    self = [super init];
    if (title == nil) {
        korvel::objc::misuse("a menu's title is never nil");
    }
    title_ = title;
    return self;
}

- (NSString*)title {
    return title_;
}

- (void)addItem:(NSMenuItem*)item {
    items_.push_back(item);
}

- (const std::vector<NSMenuItem*>&)kitItems {
    return items_;
}

- (BOOL)kitPerformCommandKey:(const std::string&)key {
    for (NSMenuItem* item : items_) {
        if (item.submenu != nil && [item.submenu kitPerformCommandKey:key]) {
            return YES;
        }
        if (!key.empty() && korvel::platform::toString(item.keyEquivalent) == key) {
            [item kitChoose];
            return YES;
        }
    }
    return NO;
}

@end
