#pragma once

#import <Foundation/Foundation.h>

#include <map>
#include <string>
#include <vector>

// What the stand-ins of Foundation have besides what the layer uses: what their other classes need,
// and what tests set and ask. What a test sets is forgotten at its end.

@interface NSString (Standin) <NSCopying>
- (BOOL)isEqualToString:(NSString*)string;
/// As far as it begins with a number, else 0; a number that is too large is the largest.
- (NSInteger)integerValue;
- (double)doubleValue;
/// Whether it begins with Y, y, T, t or, after zeros, another digit.
- (BOOL)boolValue;
@end

/// Keeps the type that it was made of: `objCType` is "q", "d" or, of a truth value, "c".
@interface NSNumber : NSObject <NSCopying>
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithBool:(BOOL)value;
/// Of a real number: without its fraction, and within what an integer holds.
- (NSInteger)integerValue;
- (double)doubleValue;
- (BOOL)boolValue;
- (const char*)objCType;
@end

@interface NSArray (Standin)
+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count;
- (NSUInteger)count;
/// Misuse: it has no such one.
- (id)objectAtIndex:(NSUInteger)index;
@end

@interface NSDictionary (Standin)
+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id[])keys
                                count:(NSUInteger)count;
- (NSUInteger)count;
@end

@interface NSAttributedString (Standin) <NSCopying>
- (NSString*)string;
@end

namespace korvel::objc {

/// Neighbouring characters of the same attributes.
struct AttributedRun {
    std::string text;
    std::map<std::string, id> attributes; ///< by name
};

/// All of a text, from its beginning.
std::vector<AttributedRun> runsOf(NSAttributedString* text);

} // namespace korvel::objc

@interface NSURL (Standin)
/// Without a slash at the end.
- (NSString*)path;
- (BOOL)isFileURL;
@end

extern NSErrorDomain const NSCocoaErrorDomain;
extern NSErrorUserInfoKey const NSLocalizedDescriptionKey;

@interface NSError (Standin)
- (NSErrorDomain)domain;
- (NSInteger)code;
@end

@interface NSNotification (Standin)
+ (instancetype)notificationOf:(id)object;
@end

@interface NSBundle (Standin)
/// The program runs from this bundle. Until then from a folder: without identifier and information.
+ (void)runFrom:(NSString*)path identifier:(NSString*)identifier info:(NSDictionary*)info;
@end

@interface NSFileManager (Standin)
/// Not writable from now on, whatever the file system says.
+ (void)refuseWritingAt:(NSString*)path;
/// What it was asked about, in this order.
+ (const std::vector<std::string>&)askedWhetherWritable;
/// Every move from now on fails with this error.
+ (void)failMovesWith:(NSError*)error;
/// The moves that were asked for: "FROM -> TO".
+ (const std::vector<std::string>&)moves;
@end

/// The settings of this program. What is set reaches the system's own store some time later.
@interface NSUserDefaults (Standin)
/// In the system's store; nil: nothing.
+ (id)storedObjectForKey:(NSString*)key;
/// Puts something into the system's store, as an earlier copy of the program did.
+ (void)storeObject:(id)value forKey:(NSString*)key;
/// The same for another program, which is named by its identifier.
+ (void)storeObject:(id)value forKey:(NSString*)key ofProgram:(NSString*)identifier;
/// The process ends after the system had the time to store all, and the next one begins.
+ (void)endProcess;
/// The process is killed: what was set since it last synchronised is lost.
+ (void)killProcess;
@end

@interface NSProcessInfo (Standin)
+ (void)setThermalState:(NSProcessInfoThermalState)state;
@end
