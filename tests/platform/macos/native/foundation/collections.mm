#include <algorithm>
#include <utility>
#include <vector>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/objects.h"

namespace {

id present(id object) {
    if (object == nil) {
        korvel::objc::misuse("a collection was to hold nil");
    }
    return object;
}

} // namespace

@implementation NSArray {
    std::vector<id> objects_;
}

+ (instancetype)arrayWithObject:(id)object {
    return [self arrayWithObjects:&object count:1];
}

+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count {
    NSArray* array = [[self alloc] init];
    std::for_each(objects, objects + count,
                  [&](id object) { array->objects_.push_back(present(object)); });
    return array;
}

- (NSUInteger)count {
    return objects_.size();
}

- (id)objectAtIndex:(NSUInteger)index {
    if (index >= objects_.size()) {
        korvel::objc::misuse("an array was asked for more than it has");
    }
    return objects_[index];
}

@end

@implementation NSDictionary {
    std::vector<std::pair<id, id>> entries_;
}

+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id[])keys
                                count:(NSUInteger)count {
    NSDictionary* dictionary = [[self alloc] init];
    for (NSUInteger i = 0; i < count; ++i) {
        if ([dictionary objectForKey:present(keys[i])] == nil) { // of equal keys the first counts
            dictionary->entries_.emplace_back([keys[i] copy], present(objects[i]));
        }
    }
    return dictionary;
}

- (NSUInteger)count {
    return entries_.size();
}

- (id)objectForKey:(id)key {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const auto& entry) { return [entry.first isEqual:key]; });
    return found != entries_.end() ? found->second : nil;
}

@end

// What the compiler takes for the empty ones of the source.
extern "C" {
NSArray* __NSArray0__ = [[NSArray alloc] init];
NSDictionary* __NSDictionary0__ = [[NSDictionary alloc] init];
}
