// Texts: those made while the program runs, in UTF-8, and those of the source.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "base/utf8.h"
#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/foundation/utf16.h"

/// A text that was made.
@interface KorvelMadeString : NSString {
  @public
    std::string utf8_;
}
@end

/// A text of the source, as the compiler lays it out. Never freed.
@interface KorvelSourceString : NSString {
    int flags_;
    const void* units_;
    unsigned long length_;
}
@end

// The compiler names the class of such texts so.
__asm__(".globl __CFConstantStringClassReference\n"
        ".set __CFConstantStringClassReference, OBJC_CLASS_$_KorvelSourceString\n");

namespace {

NSString* made(std::string utf8) {
    KorvelMadeString* string = [KorvelMadeString alloc];
    string->utf8_ = std::move(utf8);
    return string;
}

} // namespace

@implementation NSString

@dynamic UTF8String; // of the classes below

- (instancetype)init {
    return made({});
}

- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding {
    std::string utf8(static_cast<const char*>(bytes), length);
    return encoding == NSUTF8StringEncoding && korvel::isUtf8(utf8) ? made(std::move(utf8)) : nil;
}

- (NSUInteger)length {
    return korvel::objc::toUtf16(self.UTF8String).size();
}

- (NSString*)stringByDeletingLastPathComponent {
    std::string path = self.UTF8String;
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return made({});
    }
    path.resize(slash);
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return made(path.empty() ? "/" : path);
}

- (BOOL)isEqualToString:(NSString*)string {
    return string != nil && std::string(self.UTF8String) == string.UTF8String;
}

- (NSInteger)integerValue {
    return std::strtol(self.UTF8String, nullptr, 10);
}

- (double)doubleValue {
    std::string number = self.UTF8String;
    number.resize(std::min(number.find_first_not_of(" \t\n+-.eE0123456789"), number.size()));
    return std::strtod(number.c_str(), nullptr);
}

- (BOOL)boolValue {
    const std::string text = self.UTF8String;
    const auto spaces = text.find_first_not_of(" \t\n");
    if (spaces == std::string::npos) {
        return NO;
    }
    const bool hasSign = text[spaces] == '+' || text[spaces] == '-';
    const auto first = text.find_first_not_of('0', spaces + (hasSign ? 1 : 0));
    return first != std::string::npos && std::strchr("YyTt123456789", text[first]) != nullptr;
}

- (BOOL)isEqual:(id)object {
    return [object isKindOfClass:[NSString class]] && [self isEqualToString:object];
}

- (NSUInteger)hash {
    return std::hash<std::string>()(self.UTF8String);
}

- (id)copyWithZone:(void*)zone {
    return self; // it never changes
}

@end

@implementation KorvelMadeString

- (const char*)UTF8String {
    return utf8_.c_str();
}

@end

@implementation KorvelSourceString

- (const char*)UTF8String {
    constexpr int kWide = 0x10; // in units of UTF-16, else ASCII
    if ((flags_ & kWide) == 0) {
        return static_cast<const char*>(units_);
    }
    static auto& read = *new std::map<const void*, std::string>;
    return read
        .try_emplace(units_, korvel::objc::toUtf8({static_cast<const char16_t*>(units_), length_}))
        .first->second.c_str();
}

@end
