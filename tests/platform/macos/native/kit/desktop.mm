#import "platform/macos/native/kit/appkit.h"

#include <utility>

#include "platform/macos/native/runtime/end_of_test.h"

namespace korvel::kit {

Desktop& desktop() {
    static Desktop instance;
    return instance;
}

void reset() {
    // What goes last may still tell something to what is shared.
    const Desktop ended = std::exchange(desktop(), Desktop());
    (void)ended;
}

namespace {

const bool kResetAfterEachTest = [] {
    objc::atEndOfTest(reset);
    return true;
}();

/// The event is the current one for as long as it is dispatched.
class Dispatch {
  public:
    Dispatch(NSEventType type, NSWindow* window) {
        desktop().currentEvent = [NSEvent kitEventOfType:type window:window];
    }
    ~Dispatch() { desktop().currentEvent = nil; }
    Dispatch(const Dispatch&) = delete;
    Dispatch& operator=(const Dispatch&) = delete;
};

} // namespace

void press(NSWindow* window) {
    const Dispatch dispatch(NSEventTypeLeftMouseDown, window);
    const std::vector<NSPopover*> open(desktop().popovers.begin(), desktop().popovers.end());
    for (NSPopover* popover : open) {
        if (popover.contentViewController.view.window != window) {
            [popover kitPressedOutside];
        }
    }
}

void click(NSButton* button) {
    press(button.window);
    const Dispatch dispatch(kLeftMouseUp, button.window);
    [button performClick:nil];
}

bool logOut() {
    const int before = desktop().exits;
    [NSApplication.sharedApplication terminate:nil];
    return desktop().exits > before;
}

} // namespace korvel::kit
