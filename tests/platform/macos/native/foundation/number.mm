#include <cmath>
#include <limits>
#include <variant>

#import "platform/macos/native/foundation/foundation.h"

@implementation NSNumber {
    std::variant<long, double, bool> value_;
}

+ (NSNumber*)numberWithInt:(int)value {
    return [self numberWithLong:value];
}

+ (NSNumber*)numberWithLong:(long)value {
    NSNumber* number = [[NSNumber alloc] init];
    number->value_ = value;
    return number;
}

+ (NSNumber*)numberWithDouble:(double)value {
    NSNumber* number = [[NSNumber alloc] init];
    number->value_ = value;
    return number;
}

+ (NSNumber*)numberWithBool:(BOOL)value {
    NSNumber* number = [[NSNumber alloc] init];
    number->value_ = static_cast<bool>(value);
    return number;
}

- (NSInteger)integerValue {
    if (const double* real = std::get_if<double>(&value_)) {
        constexpr auto kLimits = std::numeric_limits<long>();
        constexpr double kEnd = 0x1p63; // the first that is too large
        return std::isnan(*real) ? 0
               : *real >= kEnd   ? kLimits.max()
               : *real < -kEnd   ? kLimits.min()
                                 : static_cast<long>(*real);
    }
    return std::visit([](auto value) { return static_cast<long>(value); }, value_);
}

- (double)doubleValue {
    return std::visit([](auto value) { return static_cast<double>(value); }, value_);
}

- (BOOL)boolValue {
    return std::visit([](auto value) { return value != decltype(value)(); }, value_);
}

- (const char*)objCType {
    constexpr const char* kTypes[] = {"q", "d", "c"};
    return kTypes[value_.index()];
}

- (BOOL)isEqual:(id)object {
    return
        [object isKindOfClass:[NSNumber class]] && static_cast<NSNumber*>(object)->value_ == value_;
}

- (NSUInteger)hash {
    return static_cast<NSUInteger>(self.integerValue);
}

- (id)copyWithZone:(void*)zone {
    return self; // it never changes
}

@end
