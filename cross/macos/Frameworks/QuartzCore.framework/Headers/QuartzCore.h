// What Korvel uses of QuartzCore, declared by ourselves so that its Objective-C++ compiles where
// there is no SDK. With the SDK this file is not used. It follows the public documentation and was
// checked against nothing else.
#pragma once

#import <Foundation/Foundation.h>

@interface CATransaction : NSObject
+ (void)flush;
@end
