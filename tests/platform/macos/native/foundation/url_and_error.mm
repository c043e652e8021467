#include <cstring>
#include <string>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

using korvel::platform::toNSString;
using korvel::platform::toString;

NSErrorDomain const NSPOSIXErrorDomain = @"NSPOSIXErrorDomain";
NSErrorDomain const NSCocoaErrorDomain = @"NSCocoaErrorDomain";
NSErrorUserInfoKey const NSLocalizedDescriptionKey = @"NSLocalizedDescription";

@implementation NSURL {
    std::string path_;
}

+ (NSURL*)fileURLWithPath:(NSString*)path {
    if (path == nil) {
        korvel::objc::misuse("a URL was made of nil");
    }
    NSURL* url = [[NSURL alloc] init];
    url->path_ = toString(path);
    while (url->path_.size() > 1 && url->path_.back() == '/') {
        url->path_.pop_back();
    }
    return url;
}

- (NSString*)path {
    return toNSString(path_);
}

- (BOOL)isFileURL {
    return YES; // there are no others here
}

@end

@implementation NSError {
    NSErrorDomain domain_;
    NSInteger code_;
    NSDictionary* userInfo_;
}

+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary*)userInfo {
    if (domain == nil) {
        korvel::objc::misuse("an error was made without a domain");
    }
    NSError* error = [[self alloc] init];
    error->domain_ = domain;
    error->code_ = code;
    error->userInfo_ = userInfo;
    return error;
}

- (NSErrorDomain)domain {
    return domain_;
}

- (NSInteger)code {
    return code_;
}

- (NSString*)localizedDescription {
    if (const id described = [userInfo_ objectForKey:NSLocalizedDescriptionKey]) {
        return described;
    }
    const std::string why =
        [domain_ isEqual:NSPOSIXErrorDomain]
            ? std::strerror(static_cast<int>(code_))
            : "(" + toString(domain_) + " error " + std::to_string(code_) + ".)";
    return toNSString("The operation couldn’t be completed. " + why);
}

@end
