#import "platform/macos/native/hidden_variables.h"

@implementation Hiding {
    int first_;
    NSRect rectangle_;
}

- (int)first {
    return first_;
}

- (void)setFirst:(int)first {
    first_ = first;
}

- (NSRect)rectangle {
    return rectangle_;
}

- (void)setRectangle:(NSRect)rectangle {
    rectangle_ = rectangle;
}

@end
