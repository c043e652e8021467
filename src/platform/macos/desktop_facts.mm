#include "platform/macos/desktop_facts.h"

#import <AppKit/AppKit.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

DesktopFacts desktopFacts() {
    return {NSScreen.screens.count, NSScreen.screensHaveSeparateSpaces == YES,
            toString(NSWorkspace.sharedWorkspace.frontmostApplication.bundleIdentifier)};
}

std::optional<bool> keepsAwakeBySettings(const std::string& identifier) {
    NSUserDefaults* settings = [[NSUserDefaults alloc] initWithSuiteName:toNSString(identifier)];
    NSString* key = toNSString("awakeOn");
    if ([settings objectForKey:key] == nil) {
        return std::nullopt;
    }
    return [settings boolForKey:key] == YES;
}

} // namespace korvel::platform
