// What Korvel uses of QuartzCore, declared by ourselves so that its Objective-C++ compiles where
// there is no SDK. With the SDK this file is not used. How it was checked is told in Foundation.h.
#pragma once

#import <Foundation/Foundation.h>

@interface CATransaction : NSObject
+ (void)flush;
@end
