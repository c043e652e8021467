#import <objc/NSObject.h>
#include <objc/runtime.h>

#include <cstdint>

#include "platform/macos/native/runtime/classes.h"
#include "platform/macos/native/runtime/objects.h"

using korvel::objc::ClassRecord;

namespace {

const ClassRecord* record(Class type) {
    return (__bridge const ClassRecord*)type;
}

} // namespace

@implementation NSObject

+ (instancetype)alloc {
    // The reference that it is made with is the caller's.
    return (__bridge_transfer id)korvel::objc::allocate((__bridge ClassRecord*)self);
}

+ (instancetype)new {
    return [[self alloc] init];
}

+ (Class)class {
    return self;
}

+ (Class)superclass {
    return (__bridge Class)record(self)->superclass;
}

+ (BOOL)instancesRespondToSelector:(SEL)selector {
    return korvel::objc::methodOf(record(self), selector) != nullptr;
}

- (instancetype)init {
    return self;
}

- (void)dealloc {
    korvel::objc::dispose((__bridge void*)self);
}

- (id)copy {
    return [static_cast<id>(self) copyWithZone:nullptr];
}

- (Class)class {
    return object_getClass(self);
}

- (Class)superclass {
    return [self.class superclass];
}

- (instancetype)self {
    return self;
}

- (BOOL)isKindOfClass:(Class)type {
    return korvel::objc::isOrInherits(record(object_getClass(self)), record(type));
}

- (BOOL)isMemberOfClass:(Class)type {
    return object_getClass(self) == type;
}

- (BOOL)respondsToSelector:(SEL)selector {
    return korvel::objc::methodOf(record(object_getClass(self)), selector) != nullptr;
}

- (BOOL)conformsToProtocol:(Protocol*)protocol {
    return korvel::objc::conforms(record(object_getClass(self)), protocol_getName(protocol));
}

- (BOOL)isEqual:(id)object {
    return self == object;
}

- (NSUInteger)hash {
    return reinterpret_cast<std::uintptr_t>((__bridge void*)self);
}

@end
