#include <map>
#include <string>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/end_of_test.h"
#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

using korvel::platform::toString;

namespace {

using Values = std::map<std::string, id>;

struct Store {
    NSUserDefaults* standard;               ///< of this process
    Values values;                          ///< the system's, which outlive it
    std::map<std::string, Values> ofOthers; ///< the same of other programs
};

Store& store() {
    static auto& only = *new Store;
    return only;
}

[[maybe_unused]] const bool kForgets = [] {
    korvel::objc::atEndOfTest([] { store() = Store{}; });
    return true;
}();

std::string keyOf(NSString* key) {
    if (key == nil) {
        korvel::objc::misuse("a setting was named nil");
    }
    return toString(key);
}

} // namespace

@implementation NSUserDefaults {
    Values values_; // as this process sees them
}

+ (NSUserDefaults*)standardUserDefaults {
    if (store().standard == nil) {
        store().standard = [[NSUserDefaults alloc] init];
        store().standard->values_ = store().values;
    }
    return store().standard;
}

- (instancetype)initWithSuiteName:(NSString*)name {
    values_ = store().ofOthers[keyOf(name)];
    return self;
}

+ (void)storeObject:(id)value forKey:(NSString*)key ofProgram:(NSString*)identifier {
    store().ofOthers[keyOf(identifier)][keyOf(key)] = value;
}

+ (id)storedObjectForKey:(NSString*)key {
    const auto found = store().values.find(keyOf(key));
    return found != store().values.end() ? found->second : nil;
}

+ (void)storeObject:(id)value forKey:(NSString*)key {
    store().values[keyOf(key)] = value;
}

+ (void)endProcess {
    [store().standard synchronize];
    [self killProcess];
}

+ (void)killProcess {
    store().standard = nil;
}

- (id)objectForKey:(NSString*)key {
    const auto found = values_.find(keyOf(key));
    return found != values_.end() ? found->second : nil;
}

// A text and a number are both asked for the value, and nil answers 0.

- (NSInteger)integerForKey:(NSString*)key {
    return [[self objectForKey:key] integerValue];
}

- (double)doubleForKey:(NSString*)key {
    return [[self objectForKey:key] doubleValue];
}

- (BOOL)boolForKey:(NSString*)key {
    return [[self objectForKey:key] boolValue];
}

- (void)setObject:(id)value forKey:(NSString*)key {
    if (value == nil) {
        [self removeObjectForKey:key];
        return;
    }
    if (![value isKindOfClass:[NSString class]] && ![value isKindOfClass:[NSNumber class]]) {
        korvel::objc::misuse("a setting was to be no value of a property list");
    }
    values_[keyOf(key)] = [value copy];
}

- (void)setInteger:(NSInteger)value forKey:(NSString*)key {
    [self setObject:[NSNumber numberWithLong:value] forKey:key];
}

- (void)setDouble:(double)value forKey:(NSString*)key {
    [self setObject:[NSNumber numberWithDouble:value] forKey:key];
}

- (void)setBool:(BOOL)value forKey:(NSString*)key {
    [self setObject:[NSNumber numberWithBool:value] forKey:key];
}

- (void)removeObjectForKey:(NSString*)key {
    values_.erase(keyOf(key));
}

- (BOOL)synchronize {
    store().values = values_;
    return YES;
}

@end
