// Texts: those made while the program runs, in UTF-8, and those of the source.
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "base/utf8.h"
#import "platform/macos/native/foundation/foundation.h"

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
    long length_;
}
@end

// The compiler names the class of such texts so.
__asm__(".globl __CFConstantStringClassReference\n"
        ".set __CFConstantStringClassReference, OBJC_CLASS_$_KorvelSourceString\n");

namespace {

/// Units of UTF-16 in well-formed UTF-8.
NSUInteger unitsOf(const std::string& utf8) {
    NSUInteger units = 0;
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        constexpr unsigned kFourBytes = 0xF0; // two units
        units += (byte & 0xC0U) == 0x80U ? 0 : byte >= kFourBytes ? 2 : 1;
    }
    return units;
}

void append(std::string& utf8, uint32_t codePoint) {
    const auto add = [&](uint32_t byte) { utf8 += static_cast<char>(byte); };
    if (codePoint < 0x80) {
        add(codePoint);
    } else if (codePoint < 0x800) {
        add(0xC0U | codePoint >> 6);
        add(0x80U | (codePoint & 0x3FU));
    } else if (codePoint < 0x10000) {
        add(0xE0U | codePoint >> 12);
        add(0x80U | (codePoint >> 6 & 0x3FU));
        add(0x80U | (codePoint & 0x3FU));
    } else {
        add(0xF0U | codePoint >> 18);
        add(0x80U | (codePoint >> 12 & 0x3FU));
        add(0x80U | (codePoint >> 6 & 0x3FU));
        add(0x80U | (codePoint & 0x3FU));
    }
}

std::string fromUtf16(const uint16_t* units, long length) {
    std::string utf8;
    for (long i = 0; i < length; ++i) {
        uint32_t codePoint = units[i];
        if (codePoint >= 0xD800 && codePoint < 0xDC00 && i + 1 < length) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (units[++i] - 0xDC00U);
        }
        append(utf8, codePoint);
    }
    return utf8;
}

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
    return unitsOf(self.UTF8String);
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
    return read.try_emplace(units_, fromUtf16(static_cast<const uint16_t*>(units_), length_))
        .first->second.c_str();
}

@end
