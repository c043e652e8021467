#pragma once

#import <Foundation/Foundation.h>

#include <string>

namespace korvel::platform {

/// A text as Foundation holds it; empty when it is no UTF-8.
inline NSString* toNSString(const std::string& text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data()
                                                length:text.size()
                                              encoding:NSUTF8StringEncoding];
    return string != nil ? string : [[NSString alloc] init];
}

/// The bytes of a Foundation text in UTF-8; empty for nil.
inline std::string toString(NSString* string) {
    const char* bytes = string.UTF8String;
    return bytes != nullptr ? std::string(bytes) : std::string();
}

} // namespace korvel::platform
