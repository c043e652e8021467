// The root of all classes, as far as the layer and its stand-ins use it.
#pragma once

#include <objc/objc.h>

@protocol NSObject
- (Class)class;
- (Class)superclass;
- (instancetype)self;
- (BOOL)isKindOfClass:(Class)type;
- (BOOL)isMemberOfClass:(Class)type;
- (BOOL)respondsToSelector:(SEL)selector;
- (BOOL)conformsToProtocol:(Protocol*)protocol;
- (BOOL)isEqual:(id)object;
- (NSUInteger)hash;
@end

@protocol NSCopying
- (id)copyWithZone:(void*)zone;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
+ (Class)superclass;
+ (BOOL)instancesRespondToSelector:(SEL)selector;
- (instancetype)init;
- (void)dealloc;
/// Sends `copyWithZone:`, of NSCopying.
- (id)copy;
@end
