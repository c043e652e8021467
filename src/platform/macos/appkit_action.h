#pragma once

#import <Foundation/Foundation.h>

#include <functional>

/// The target of a control or a menu item, neither of which holds it.
@interface KorvelAction : NSObject {
  @public
    std::function<void()> action_; ///< empty: nothing happens
}

/// The selector to send.
- (void)korvelAct;

@end
