#include <algorithm>
#include <utility>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/foundation/utf16.h"
#import "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

namespace {

struct Unit {
    char16_t character;
    std::map<std::string, id> attributes;
};

} // namespace

@implementation NSAttributedString {
  @package
    std::vector<Unit> units_; // of UTF-16
}

- (instancetype)initWithString:(NSString*)string {
    if (string == nil) {
        korvel::objc::misuse("an attributed text was made of nil");
    }
    for (const char16_t character : korvel::objc::toUtf16(string.UTF8String)) {
        units_.push_back({character, {}});
    }
    return self;
}

- (NSUInteger)length {
    return units_.size();
}

- (NSString*)string {
    std::string text;
    for (const auto& run : korvel::objc::runsOf(self)) {
        text += run.text;
    }
    return korvel::platform::toNSString(text);
}

- (id)copyWithZone:(void*)zone {
    NSAttributedString* copy = [[NSAttributedString alloc] init]; // which is not mutable
    copy->units_ = units_;
    return copy;
}

@end

@implementation NSMutableAttributedString

- (void)addAttribute:(NSAttributedStringKey)name value:(id)value range:(NSRange)range {
    if (range.location > units_.size() || range.length > units_.size() - range.location) {
        korvel::objc::misuse("an attribute was added outside of the text");
    }
    if (name == nil || value == nil) {
        korvel::objc::misuse("an attribute without name or value was added");
    }
    for (NSUInteger at = range.location; at < range.location + range.length; ++at) {
        units_[at].attributes[name.UTF8String] = value;
    }
}

- (void)appendAttributedString:(NSAttributedString*)string {
    if (string == nil) {
        korvel::objc::misuse("nil was appended to an attributed text");
    }
    const std::vector<Unit> added = string->units_; // which may be this one's
    units_.insert(units_.end(), added.begin(), added.end());
}

@end

std::vector<korvel::objc::AttributedRun> korvel::objc::runsOf(NSAttributedString* text) {
    std::vector<AttributedRun> runs;
    if (text == nil) {
        return runs;
    }
    const std::vector<Unit>& units = text->units_;
    for (auto at = units.begin(); at != units.end();) {
        std::u16string characters;
        const auto& attributes = at->attributes;
        for (; at != units.end() && at->attributes == attributes; ++at) {
            characters += at->character;
        }
        runs.push_back({toUtf8(characters), attributes});
    }
    return runs;
}
