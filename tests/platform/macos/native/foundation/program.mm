// What the program is told about itself and about the machine.
#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/end_of_test.h"

namespace {

NSBundle* mainBundle;
NSProcessInfo* process;

[[maybe_unused]] const bool kForgets = [] {
    korvel::objc::atEndOfTest([] {
        mainBundle = nil;
        process = nil;
    });
    return true;
}();

} // namespace

@implementation NSBundle {
    NSString* path_;
    NSString* identifier_;
    NSDictionary* info_;
}

+ (NSBundle*)mainBundle {
    if (mainBundle == nil) {
        [self runFrom:@"/usr/local/bin" identifier:nil info:[[NSDictionary alloc] init]];
    }
    return mainBundle;
}

+ (void)runFrom:(NSString*)path identifier:(NSString*)identifier info:(NSDictionary*)info {
    mainBundle = [[NSBundle alloc] init];
    mainBundle->path_ = path;
    mainBundle->identifier_ = identifier;
    mainBundle->info_ = info;
}

- (NSString*)bundlePath {
    return path_;
}

- (NSString*)bundleIdentifier {
    return identifier_;
}

- (NSDictionary*)infoDictionary {
    return info_;
}

@end

@implementation NSProcessInfo {
    NSProcessInfoThermalState state_;
}

+ (NSProcessInfo*)processInfo {
    if (process == nil) {
        process = [[NSProcessInfo alloc] init];
    }
    return process;
}

+ (void)setThermalState:(NSProcessInfoThermalState)state {
    self.processInfo->state_ = state;
}

- (NSProcessInfoThermalState)thermalState {
    return state_;
}

@end

@implementation NSNotification {
    id object_;
}

+ (instancetype)notificationOf:(id)object {
    NSNotification* notification = [[self alloc] init];
    notification->object_ = object;
    return notification;
}

- (id)object {
    return object_;
}

@end
