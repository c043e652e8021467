// What Korvel uses of Foundation, declared by ourselves so that its Objective-C++ compiles where
// there is no SDK. With the SDK this file is not used.
//
// Checked once against the description of the macOS 26.2 SDK that the bridge package
// @nativescript/macos-node-api 0.4.0 (npm) carries: by a script, each method of the table in
// declared_selectors.mm (class or instance method, its owner, its selector, the number of its
// arguments and the kind of each: string, number, truth value, selector, structure, enumeration by
// name, class by name, block); by eye, the results, the values of the enumerations and the names of
// the constants, and all of what was added later (user defaults, errors and moves of files, the
// application's delegate, the size of a popover, CATransaction). The description has one kind of
// number: that NSInteger, NSUInteger, CGFloat and BOOL stand in the right places, and the values -1
// and 4 of NSVariableStatusItemLength and NSUTF8StringEncoding, are known from the public
// documentation and were checked against nothing else. Nullability, availability and adopted
// protocols are left out. Which framework a symbol comes from, in the .tbd files, is a guess.
#pragma once

#include <objc/NSObject.h>
#include <objc/objc.h>

#include <limits.h>
#include <stddef.h>

#ifdef __cplusplus
#define KORVEL_EXTERN extern "C"
#else
#define KORVEL_EXTERN extern
#endif

#define NS_ENUM(type, name) \
    enum name : type name;  \
    enum name : type
#ifdef __cplusplus
#define NS_OPTIONS(type, name) \
    type name;                 \
    enum : type
#else
#define NS_OPTIONS(type, name) NS_ENUM(type, name)
#endif

typedef double CGFloat;
struct CGPoint {
    CGFloat x;
    CGFloat y;
};
typedef struct CGPoint CGPoint;
struct CGSize {
    CGFloat width;
    CGFloat height;
};
typedef struct CGSize CGSize;
struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef struct CGRect CGRect;
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;

static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) {
    NSPoint point;
    point.x = x;
    point.y = y;
    return point;
}

static inline NSSize NSMakeSize(CGFloat width, CGFloat height) {
    NSSize size;
    size.width = width;
    size.height = height;
    return size;
}

typedef NS_ENUM(NSUInteger, NSRectEdge){
    NSRectEdgeMinX = 0,
    NSRectEdgeMinY = 1,
    NSRectEdgeMaxX = 2,
    NSRectEdgeMaxY = 3,
};

typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;

static inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) {
    NSRange range;
    range.location = location;
    range.length = length;
    return range;
}

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

@interface NSString : NSObject
@property(readonly) NSUInteger length;
@property(readonly) const char* UTF8String;
@property(readonly, copy) NSString* stringByDeletingLastPathComponent;
- (instancetype)init;
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding;
@end

typedef NSString* NSAttributedStringKey;
typedef NSString* NSErrorDomain;
typedef NSString* NSErrorUserInfoKey;

@interface NSArray <__covariant ObjectType> : NSObject
+ (instancetype)arrayWithObject:(ObjectType)object;
@property(readonly) NSUInteger count;
@end

@interface NSDictionary <__covariant KeyType, __covariant ObjectType> : NSObject
- (ObjectType)objectForKey:(KeyType)key;
@end

@interface NSAttributedString : NSObject
@property(readonly) NSUInteger length;
- (instancetype)initWithString:(NSString*)string;
@end

@interface NSMutableAttributedString : NSAttributedString
- (void)addAttribute:(NSAttributedStringKey)name value:(id)value range:(NSRange)range;
- (void)appendAttributedString:(NSAttributedString*)string;
@end

@interface NSURL : NSObject
+ (NSURL*)fileURLWithPath:(NSString*)path;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(readonly, copy) NSString* bundlePath;
@property(readonly, copy) NSString* bundleIdentifier;
@property(readonly, copy) NSDictionary<NSString*, id>* infoDictionary;
@end

KORVEL_EXTERN const NSErrorDomain NSPOSIXErrorDomain;

@interface NSError : NSObject
@property(readonly, copy) NSString* localizedDescription;
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary<NSErrorUserInfoKey, id>*)userInfo;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (BOOL)isWritableFileAtPath:(NSString*)path;
- (BOOL)moveItemAtURL:(NSURL*)from toURL:(NSURL*)to error:(NSError**)error;
@end

@interface NSUserDefaults : NSObject
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (instancetype)initWithSuiteName:(NSString*)name;
- (id)objectForKey:(NSString*)key;
- (NSInteger)integerForKey:(NSString*)key;
- (double)doubleForKey:(NSString*)key;
- (BOOL)boolForKey:(NSString*)key;
- (void)setObject:(id)value forKey:(NSString*)key;
- (void)setInteger:(NSInteger)value forKey:(NSString*)key;
- (void)setDouble:(double)value forKey:(NSString*)key;
- (void)setBool:(BOOL)value forKey:(NSString*)key;
- (void)removeObjectForKey:(NSString*)key;
- (BOOL)synchronize;
@end

typedef NS_ENUM(NSInteger, NSProcessInfoThermalState){
    NSProcessInfoThermalStateNominal,
    NSProcessInfoThermalStateFair,
    NSProcessInfoThermalStateSerious,
    NSProcessInfoThermalStateCritical,
};

@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly) NSProcessInfoThermalState thermalState;
@end

@interface NSNotification : NSObject
@property(readonly, strong) id object;
@end
