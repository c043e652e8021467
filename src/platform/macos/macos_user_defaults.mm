#include "platform/macos/macos_user_defaults.h"

#import <Foundation/Foundation.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

namespace {

NSUserDefaults* defaults() {
    return NSUserDefaults.standardUserDefaults;
}

} // namespace

std::int64_t MacosUserDefaults::integer(const std::string& key) {
    return [defaults() integerForKey:toNSString(key)];
}

double MacosUserDefaults::real(const std::string& key) {
    return [defaults() doubleForKey:toNSString(key)];
}

bool MacosUserDefaults::boolean(const std::string& key) {
    return [defaults() boolForKey:toNSString(key)];
}

std::string MacosUserDefaults::string(const std::string& key) {
    // Not stringForKey:, which makes a text of a number too.
    const id value = [defaults() objectForKey:toNSString(key)];
    return [value isKindOfClass:[NSString class]] ? toString(value) : std::string();
}

bool MacosUserDefaults::has(const std::string& key) {
    return [defaults() objectForKey:toNSString(key)] != nil;
}

void MacosUserDefaults::set(const std::string& key, std::int64_t value) {
    [defaults() setInteger:value forKey:toNSString(key)];
}

void MacosUserDefaults::set(const std::string& key, double value) {
    [defaults() setDouble:value forKey:toNSString(key)];
}

void MacosUserDefaults::set(const std::string& key, bool value) {
    [defaults() setBool:value forKey:toNSString(key)];
}

void MacosUserDefaults::set(const std::string& key, const std::string& value) {
    [defaults() setObject:toNSString(value) forKey:toNSString(key)];
}

void MacosUserDefaults::remove(const std::string& key) {
    [defaults() removeObjectForKey:toNSString(key)];
}

void MacosUserDefaults::flush() {
    [defaults() synchronize];
}

} // namespace korvel::platform
