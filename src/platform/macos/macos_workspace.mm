#include "platform/macos/macos_workspace.h"

#import <AppKit/AppKit.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

void MacosWorkspace::reveal(const std::string& path) {
    NSURL* url = [NSURL fileURLWithPath:toNSString(path)];
    [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:[NSArray arrayWithObject:url]];
}

} // namespace korvel::platform
