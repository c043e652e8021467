#import "platform/macos/native/kit/appkit.h"

#import <QuartzCore/QuartzCore.h>
#include <objc/message.h>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/toolkit.h"
#import "platform/macos/ns_string.h"

using korvel::kit::desktop;

@implementation NSEvent {
    NSEventType type_;
    __weak NSWindow* window_;
}

+ (NSEvent*)kitEventOfType:(NSEventType)type window:(NSWindow*)window {
    NSEvent* event = [[NSEvent alloc] init];
    event->type_ = type;
    event->window_ = window;
    return event;
}

- (NSEventType)type {
    return type_;
}

- (NSWindow*)window {
    return window_;
}

@end

@implementation NSApplication {
    __weak id<NSApplicationDelegate> delegate_;
    NSApplicationActivationPolicy activationPolicy_;
    NSMenu* mainMenu_;
    BOOL active_;
}

+ (NSApplication*)sharedApplication {
    if (desktop().application == nil) {
        NSApplication* application = [[NSApplication alloc] init];
        // Of a program without a bundle.
        application->activationPolicy_ = NSApplicationActivationPolicyProhibited;
        desktop().application = application;
    }
    return desktop().application;
}

- (id<NSApplicationDelegate>)delegate {
    return delegate_;
}

- (void)setDelegate:(id<NSApplicationDelegate>)delegate {
    delegate_ = delegate;
}

- (NSMenu*)mainMenu {
    return mainMenu_;
}

- (void)setMainMenu:(NSMenu*)menu {
    mainMenu_ = menu;
}

- (NSEvent*)currentEvent {
    return desktop().currentEvent;
}

- (NSApplicationActivationPolicy)activationPolicy {
    return activationPolicy_;
}

- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy {
    activationPolicy_ = policy;
    return YES;
}

- (BOOL)isActive {
    return active_;
}

- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps {
    desktop().log.emplace_back(ignoreOtherApps ? "activate" : "activate if nobody else is");
    active_ = active_ || ignoreOtherApps;
}

- (NSWindow*)keyWindow {
    return desktop().keyWindow;
}

/// Up from the first responder of the key window, which is in the chain itself, then this, then its
/// delegate.
- (id)targetForAction:(SEL)action {
    NSWindow* key = desktop().keyWindow;
    NSResponder* first = key.firstResponder;
    NSResponder* const from = first != nil ? first : key;
    for (NSResponder* responder = from; responder != nil; responder = responder.nextResponder) {
        if ([responder respondsToSelector:action]) {
            return responder;
        }
    }
    if ([self respondsToSelector:action]) {
        return self;
    }
    id delegate = delegate_;
    return [delegate respondsToSelector:action] ? delegate : nil;
}

- (BOOL)sendAction:(SEL)action to:(id)target from:(id)sender {
    id receiver = target != nil ? target : [self targetForAction:action];
    if (![receiver respondsToSelector:action]) {
        return NO;
    }
    if ([receiver respondsToSelector:@selector(forwardingTargetForSelector:)]) {
        id forwarded = [receiver forwardingTargetForSelector:action];
        receiver = forwarded != nil ? forwarded : receiver;
    }
    // An action gives nothing back, which `performSelector:` would take for an object.
    const auto send = reinterpret_cast<void (*)()>(&objc_msgSend);
    reinterpret_cast<void (*)(id, SEL, id)>(send)(receiver, action, sender);
    return YES;
}

- (void)terminate:(id)sender {
    id<NSApplicationDelegate> delegate = delegate_;
    NSApplicationTerminateReply reply = NSTerminateNow;
    if ([delegate respondsToSelector:@selector(applicationShouldTerminate:)]) {
        reply = [delegate applicationShouldTerminate:self];
    }
    desktop().replies.push_back(reply);
    if (reply != NSTerminateNow) {
        return;
    }
    if ([delegate respondsToSelector:@selector(applicationWillTerminate:)]) {
        [delegate applicationWillTerminate:[NSNotification notificationOf:self]];
    }
    ++desktop().exits;
}

@end

@implementation NSScreen

+ (NSScreen*)mainScreen {
    if (!desktop().screen) {
        return nil;
    }
    if (desktop().mainScreen == nil) {
        desktop().mainScreen = [[NSScreen alloc] init];
    }
    return desktop().mainScreen;
}

+ (NSArray<NSScreen*>*)screens {
    const std::vector<id> all(desktop().screen ? desktop().screens : 0, self.mainScreen);
    return [NSArray arrayWithObjects:all.data() count:all.size()];
}

+ (BOOL)screensHaveSeparateSpaces {
    return desktop().separateSpaces;
}

- (NSRect)visibleFrame {
    return desktop().visibleFrame;
}

@end

@implementation NSRunningApplication

- (NSString*)bundleIdentifier {
    const auto& identifier = desktop().frontIdentifier;
    return identifier.has_value() ? korvel::platform::toNSString(*identifier) : nil;
}

@end

@implementation NSWorkspace

- (NSRunningApplication*)frontmostApplication {
    return desktop().front ? [[NSRunningApplication alloc] init] : nil;
}

+ (NSWorkspace*)sharedWorkspace {
    if (desktop().workspace == nil) {
        desktop().workspace = [[NSWorkspace alloc] init];
    }
    return desktop().workspace;
}

- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)urls {
    desktop().revealed.push_back(urls);
}

@end

@implementation CATransaction

+ (void)flush {
    ++desktop().flushes;
}

@end
