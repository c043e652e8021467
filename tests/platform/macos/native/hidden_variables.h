#pragma once

#import <Foundation/Foundation.h>

/// A class whose variables are in its implementation alone, so that who inherits from it was
/// compiled without knowing how large it is.
@interface Hiding : NSObject
@property int first;
@property NSRect rectangle;
@end
