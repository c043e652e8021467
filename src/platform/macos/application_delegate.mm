#import "platform/macos/application_delegate.h"

#include <utility>

namespace {

void run(const std::function<void()>& function) {
    if (const auto copy = function) { // it may set another in its own place
        copy();
    }
}

} // namespace

@implementation KorvelApplicationDelegate

- (void)togglePopover {
    run(togglePopover_);
}

- (void)checkForUpdates {
    run(checkForUpdates_);
}

// Said here, or Qt would answer for the program: it refuses while its loop runs, and the end of the
// session would be called off.
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)application {
    return NSTerminateNow;
}

- (void)applicationWillTerminate:(NSNotification*)notification {
    run(std::exchange(willTerminate_, nullptr));
}

@end
