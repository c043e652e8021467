#pragma once

#import <Foundation/Foundation.h>

// What the stand-ins of Foundation can do besides what the layer uses: what tests ask and set.

@interface NSString (Standin) <NSCopying>
- (BOOL)isEqualToString:(NSString*)string;
@end
