#include "platform/macos/macos_file_manager.h"

#import <Foundation/Foundation.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

namespace {

/// The same with the system's sentence for its code.
Status<std::errc> described(Status<std::errc> status) {
    if (status) {
        return status;
    }
    Error<std::errc> error = status.error();
    error.detail = toString([NSError errorWithDomain:NSPOSIXErrorDomain
                                                code:static_cast<NSInteger>(error.code)
                                            userInfo:nil]
                                .localizedDescription);
    return error;
}

NSURL* urlOf(const std::string& path) {
    return [NSURL fileURLWithPath:toNSString(path)];
}

} // namespace

Status<std::errc> MacosFileManager::move(const std::string& from, const std::string& to) {
    Status<std::errc> moved = PosixFileManager::move(from, to);
    if (moved) {
        return moved;
    }
    NSError* error = nil;
    if (![NSFileManager.defaultManager moveItemAtURL:urlOf(from) toURL:urlOf(to) error:&error]) {
        return Error{moved.error().code, from, toString(error.localizedDescription)};
    }
    // It may be a copy from another volume. A file is not a folder to be flushed, and needs not be:
    // only what takes the place of a bundle has to outlive a loss of power.
    static_cast<void>(PosixFileManager::flush(to));
    return {};
}

Status<std::errc> MacosFileManager::flush(const std::string& folder) {
    return described(PosixFileManager::flush(folder));
}

Status<std::errc> MacosFileManager::recordReplacement(const std::string& workFolder,
                                                      const std::string& place) {
    return described(PosixFileManager::recordReplacement(workFolder, place));
}

} // namespace korvel::platform
