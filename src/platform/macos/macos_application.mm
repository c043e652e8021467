#include "platform/macos/macos_application.h"

#import <AppKit/AppKit.h>

#include <cstdlib>
#include <utility>

#import "platform/macos/application_delegate.h"

namespace korvel::platform {

struct MacosApplication::Parts {
    KorvelApplicationDelegate* delegate; ///< which the application object does not hold
};

MacosApplication::MacosApplication() : parts_(new Parts{[[KorvelApplicationDelegate alloc] init]}) {
    // Read by Qt's plugin for this system, which otherwise brings every program to the front.
    ::setenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1", 1);
    NSApplication* application = NSApplication.sharedApplication;
    application.delegate = parts_->delegate;
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
}

MacosApplication::~MacosApplication() {
    // Qt's delegate may hold on to this one.
    parts_->delegate->togglePopover_ = nullptr;
    parts_->delegate->checkForUpdates_ = nullptr;
    parts_->delegate->willTerminate_ = nullptr;
}

void MacosApplication::setTogglePopover(std::function<void()> togglePopover) {
    parts_->delegate->togglePopover_ = std::move(togglePopover);
}

void MacosApplication::setCheckForUpdates(std::function<void()> checkForUpdates) {
    parts_->delegate->checkForUpdates_ = std::move(checkForUpdates);
}

void MacosApplication::setWillTerminate(std::function<void()> willTerminate) {
    parts_->delegate->willTerminate_ = std::move(willTerminate);
}

void* MacosApplication::delegate() const {
    return (__bridge void*)parts_->delegate;
}

void MacosApplication::terminate() {
    [NSApplication.sharedApplication terminate:nil];
}

void activateApplication() {
    [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
}

std::optional<double> visibleScreenHeight() {
    NSScreen* screen = NSScreen.mainScreen;
    if (screen == nil) {
        return std::nullopt;
    }
    return screen.visibleFrame.size.height;
}

} // namespace korvel::platform
