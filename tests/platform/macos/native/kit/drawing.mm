#import "platform/macos/native/kit/appkit.h"

#include <array>
#include <cstdio>

#import "platform/macos/ns_string.h"

const NSAttributedStringKey NSFontAttributeName = @"NSFont";
const NSAttributedStringKey NSForegroundColorAttributeName = @"NSColor";
const NSFontWeight NSFontWeightMedium = 0.23;

@implementation NSFont {
    CGFloat pointSize_;
    CGFloat weight_;
    BOOL monospacedDigits_;
}

+ (NSFont*)systemFontOfSize:(CGFloat)size {
    NSFont* font = [[NSFont alloc] init];
    font->pointSize_ = size;
    return font;
}

+ (NSFont*)monospacedDigitSystemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
    NSFont* font = [NSFont systemFontOfSize:size];
    font->weight_ = weight;
    font->monospacedDigits_ = YES;
    return font;
}

- (CGFloat)pointSize {
    return pointSize_;
}

- (CGFloat)kitWeight {
    return weight_;
}

- (BOOL)monospacedDigits {
    return monospacedDigits_;
}

@end

@implementation NSColor {
    std::string name_;
}

+ (NSColor*)secondaryLabelColor {
    NSColor* colour = [[NSColor alloc] init];
    colour->name_ = "secondaryLabel";
    return colour;
}

+ (NSColor*)colorWithSRGBRed:(CGFloat)red
                       green:(CGFloat)green
                        blue:(CGFloat)blue
                       alpha:(CGFloat)alpha {
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "sRGB %.2f %.2f %.2f %.2f", red, green, blue, alpha);
    NSColor* colour = [[NSColor alloc] init];
    colour->name_ = name.data();
    return colour;
}

- (NSString*)kitName {
    return korvel::platform::toNSString(name_);
}

@end
