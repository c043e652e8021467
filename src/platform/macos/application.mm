#include "platform/macos/application.h"

#import <AppKit/AppKit.h>

namespace korvel::platform {

void becomeAccessory() {
    [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory];
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

struct TerminationNotice::Observer {
    id<NSObject> token;
};

// By value: the block would keep a reference as one.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
TerminationNotice::TerminationNotice(std::function<void()> notify)
    : observer_(new Observer{[NSNotificationCenter.defaultCenter
          addObserverForName:NSApplicationWillTerminateNotification
                      object:nil
                       queue:nil
                  usingBlock:^(NSNotification*) {
                    notify();
                  }]}) {}

TerminationNotice::~TerminationNotice() {
    [NSNotificationCenter.defaultCenter removeObserver:observer_->token];
}

} // namespace korvel::platform
