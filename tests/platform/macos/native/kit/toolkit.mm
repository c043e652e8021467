#import "platform/macos/native/kit/toolkit.h"

#include <cstdlib>

#include "platform/macos/native/runtime/end_of_test.h"

@implementation ToolkitDelegate

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
    if ([found_ respondsToSelector:@selector(applicationShouldTerminate:)]) {
        return [found_ applicationShouldTerminate:sender];
    }
    return NSTerminateCancel;
}

- (void)applicationWillTerminate:(NSNotification*)notification {
    if ([found_ respondsToSelector:@selector(applicationWillTerminate:)]) {
        [found_ applicationWillTerminate:notification];
    }
}

- (BOOL)respondsToSelector:(SEL)selector {
    return [super respondsToSelector:selector] || [found_ respondsToSelector:selector];
}

- (id)forwardingTargetForSelector:(SEL)selector {
    return [super respondsToSelector:selector] ? nil : found_;
}

@end

namespace korvel::kit {

namespace {

ToolkitDelegate* toolkit = nil;

const bool kForgets = [] {
    objc::atEndOfTest([] { toolkit = nil; });
    return true;
}();

} // namespace

void startToolkit() {
    NSApplication* application = NSApplication.sharedApplication;
    toolkit = [[ToolkitDelegate alloc] init];
    toolkit->found_ = application.delegate;
    application.delegate = toolkit;
    const char* told = std::getenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
    if (told == nullptr || *told == '\0') {
        [application activateIgnoringOtherApps:YES];
    }
}

} // namespace korvel::kit
