#import "platform/macos/appkit_action.h"

@implementation KorvelAction

- (void)korvelAct {
    if (const auto action = action_) { // a copy: it may set another
        action();
    }
}

@end
