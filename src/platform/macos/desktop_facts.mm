#include "platform/macos/desktop_facts.h"

#import <AppKit/AppKit.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

DesktopFacts desktopFacts() {
    return {NSScreen.screens.count, NSScreen.screensHaveSeparateSpaces == YES,
            toString(NSWorkspace.sharedWorkspace.frontmostApplication.bundleIdentifier)};
}

std::optional<bool> storedTruth(const std::string& identifier, const std::string& key) {
    NSUserDefaults* settings = [[NSUserDefaults alloc] initWithSuiteName:toNSString(identifier)];
    if ([settings objectForKey:toNSString(key)] == nil) {
        return std::nullopt;
    }
    return [settings boolForKey:toNSString(key)] == YES;
}

} // namespace korvel::platform
