#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/end_of_test.h"
#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

namespace files = std::filesystem;
using korvel::platform::toNSString;
using korvel::platform::toString;

namespace {

struct Asked {
    NSFileManager* manager;
    NSError* moveError;
    std::vector<std::string> refused;
    std::vector<std::string> writable;
    std::vector<std::string> moves;
};

Asked& asked() {
    static auto& all = *new Asked;
    return all;
}

[[maybe_unused]] const bool kForgets = [] {
    korvel::objc::atEndOfTest([] { asked() = Asked{}; });
    return true;
}();

NSError* cocoaError(NSInteger code, const std::string& sentence) {
    return [NSError errorWithDomain:NSCocoaErrorDomain
                               code:code
                           userInfo:@{NSLocalizedDescriptionKey : toNSString(sentence)}];
}

/// nil: it is done. A file that is in the way stays.
NSError* move(const files::path& from, const files::path& to) {
    constexpr NSInteger kNoSuchFile = 4;
    constexpr NSInteger kWriteUnknown = 512;
    constexpr NSInteger kFileExists = 516;
    const std::string subject = "“" + from.filename().string() + "” couldn’t be moved to “" +
                                to.parent_path().filename().string() + "” because ";
    std::error_code error;
    if (files::exists(files::symlink_status(to, error))) {
        return cocoaError(kFileExists, subject + "an item with the same name already exists.");
    }
    files::rename(from, to, error);
    if (error == std::errc::cross_device_link) {
        constexpr auto kAll = files::copy_options::recursive | files::copy_options::copy_symlinks;
        files::copy(from, to, kAll, error);
        if (!error) {
            files::remove_all(from, error);
        }
    }
    if (error == std::errc::no_such_file_or_directory) {
        return cocoaError(kNoSuchFile, subject + "either the former doesn’t exist, or the folder "
                                                 "containing the latter doesn’t exist.");
    }
    return error ? cocoaError(kWriteUnknown, subject + error.message() + ".") : nil;
}

} // namespace

@implementation NSFileManager

+ (NSFileManager*)defaultManager {
    if (asked().manager == nil) {
        asked().manager = [[NSFileManager alloc] init];
    }
    return asked().manager;
}

+ (void)refuseWritingAt:(NSString*)path {
    asked().refused.push_back(toString(path));
}

+ (const std::vector<std::string>&)askedWhetherWritable {
    return asked().writable;
}

+ (void)failMovesWith:(NSError*)error {
    asked().moveError = error;
}

+ (const std::vector<std::string>&)moves {
    return asked().moves;
}

- (BOOL)isWritableFileAtPath:(NSString*)path {
    const std::string file = toString(path);
    asked().writable.push_back(file);
    const auto& refused = asked().refused;
    return std::find(refused.begin(), refused.end(), file) == refused.end() &&
           ::access(file.c_str(), W_OK) == 0;
}

- (BOOL)moveItemAtURL:(NSURL*)from toURL:(NSURL*)to error:(NSError**)error {
    if (from == nil || to == nil) {
        korvel::objc::misuse("a file was to be moved from or to nil");
    }
    asked().moves.push_back(toString(from.path) + " -> " + toString(to.path));
    NSError* failure = asked().moveError;
    if (failure == nil) {
        failure = move(toString(from.path), toString(to.path));
    }
    if (failure != nil && error != nullptr) {
        *error = failure;
    }
    return failure == nil;
}

@end
