#pragma once

#import <AppKit/AppKit.h>

#include <functional>

/// The end of the responder chain, and the target of the status item's button. Each function may be
/// empty.
@interface KorvelApplicationDelegate : NSObject <NSApplicationDelegate> {
  @public
    std::function<void()> togglePopover_;
    std::function<void()> checkForUpdates_;
    std::function<void()> willTerminate_;
}
- (void)togglePopover;
- (void)checkForUpdates;
@end
