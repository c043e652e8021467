// What Qt does to a program of macOS beside its windows, as far as the layer has to reckon with it.
#pragma once

#import "platform/macos/native/kit/appkit.h"

/// Takes the place of the application's delegate and hands on to the one that it found what that
/// one answers. By itself it calls off each end of the program while its loop runs.
@interface ToolkitDelegate : NSObject <NSApplicationDelegate> {
  @public
    id<NSApplicationDelegate> found_;
}
- (id)forwardingTargetForSelector:(SEL)selector;
@end

namespace korvel::kit {

/// As the toolkit's application object is made: its delegate is the application's from now on, and
/// the program comes to the front, unless the environment asks for neither a transformation nor
/// that. The delegate lives until the end of the test.
void startToolkit();

} // namespace korvel::kit
