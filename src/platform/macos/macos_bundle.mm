#include "platform/macos/macos_bundle.h"

#import <Foundation/Foundation.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

struct MacosBundle::Parts {
    NSString* path;
    NSString* identifier; ///< nil outside a bundle
    NSDictionary* info;
};

MacosBundle::MacosBundle()
    : parts_(new Parts{NSBundle.mainBundle.bundlePath, NSBundle.mainBundle.bundleIdentifier,
                       NSBundle.mainBundle.infoDictionary}) {}

MacosBundle::~MacosBundle() = default;

std::string MacosBundle::path() {
    return toString(parts_->path);
}

std::optional<std::string> MacosBundle::infoString(const std::string& key) {
    const id value = [parts_->info objectForKey:toNSString(key)];
    if (![value isKindOfClass:[NSString class]]) {
        return std::nullopt;
    }
    return toString(value);
}

bool MacosBundle::parentWritable() {
    if (parts_->identifier == nil) {
        return false;
    }
    return [NSFileManager.defaultManager
        isWritableFileAtPath:parts_->path.stringByDeletingLastPathComponent];
}

} // namespace korvel::platform
