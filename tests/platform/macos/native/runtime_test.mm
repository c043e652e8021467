// The runtime that the other tests of this program stand on.
#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/hidden_variables.h"
#include "platform/macos/native/runtime/entry_points.h"
#include "platform/macos/native/runtime/objects.h"

@protocol Greeting <NSObject>
- (int)greet;
@end

@protocol PoliteGreeting <Greeting>
@end

@interface Base : NSObject {
  @public
    std::function<void()> ended_;
}
@property(weak) Base* other;
@property(copy) void (^block)(int);
@property(copy) NSString* name;
@property(nonatomic, copy) NSString* plainName;
@property(strong) Base* child;
@property NSRect rectangle;
+ (int)number;
- (int)value;
- (NSRect)rectangleOfFirst:(double)a
                    second:(double)b
                     third:(double)c
                    fourth:(double)d
                     fifth:(double)e
                     sixth:(double)f
                   seventh:(double)g
                    eighth:(double)h
                     whole:(int)i
                      more:(int)j
                      most:(int)k
                      last:(int)l;
@end

@implementation Base
+ (int)number {
    return 7;
}
- (int)value {
    return 1;
}
- (NSRect)rectangleOfFirst:(double)a
                    second:(double)b
                     third:(double)c
                    fourth:(double)d
                     fifth:(double)e
                     sixth:(double)f
                   seventh:(double)g
                    eighth:(double)h
                     whole:(int)i
                      more:(int)j
                      most:(int)k
                      last:(int)l {
    return NSRect{{a + 10 * b, c + 10 * d},
                  {e + 10 * f + 100 * i + 1000 * j, g + 10 * h + 100 * k + 1000 * l}};
}
- (void)dealloc {
    if (ended_) {
        ended_();
    }
}
@end

@interface Derived : Base <PoliteGreeting>
@end

@implementation Derived
+ (int)number {
    return [super number] + 1;
}
- (int)value {
    return [super value] + 1;
}
- (int)greet {
    return 3;
}
- (NSRect)rectangle {
    NSRect above = [super rectangle];
    above.size.width += 1;
    return above;
}
@end

@interface Base (Later)
- (int)addedLater;
+ (int)addedToClass;
@end

@implementation Base (Later)
- (int)addedLater {
    return 5;
}
+ (int)addedToClass {
    return 6;
}
@end

@interface BehindHiding : Hiding {
  @public
    int own_;
    std::string text_;
}
@end

@implementation BehindHiding
@end

@interface NSObject (NobodyHasThis)
- (void)nobodyHasThis;
+ (void)noClassHasThis;
@end

namespace {

/// Says in `ended` when an object of the kind has died.
template <class Kind = Base>
Kind* watched(bool& ended) {
    Kind* object = [[Kind alloc] init];
    object->ended_ = [&ended] { ended = true; };
    return object;
}

std::size_t alive(const std::string& kind) {
    const auto all = korvel::objc::liveObjects();
    const auto found = all.find(kind);
    return found != all.end() ? found->second : 0;
}

} // namespace

TEST(Message, FindsTheNearestMethodOfInstancesAndOfClasses) {
    Derived* derived = [[Derived alloc] init];
    EXPECT_EQ(derived.value, 2);
    EXPECT_EQ([Derived number], 8);
    EXPECT_EQ(derived.addedLater, 5);
    EXPECT_EQ([Derived addedToClass], 6);
    EXPECT_TRUE([[derived class] isKindOfClass:[NSObject class]]) << "classes are objects too";
}

TEST(Message, CarriesArgumentsOfEveryKindAndAnswersInMemory) {
    const NSRect got = [[[Derived alloc] init] rectangleOfFirst:1
                                                         second:2
                                                          third:3
                                                         fourth:4
                                                          fifth:5
                                                          sixth:6
                                                        seventh:7
                                                         eighth:8
                                                          whole:9
                                                           more:1
                                                           most:2
                                                           last:3];
    EXPECT_EQ(got.origin.x, 21);
    EXPECT_EQ(got.origin.y, 43);
    EXPECT_EQ(got.size.width, 5 + 60 + 900 + 1000);
    EXPECT_EQ(got.size.height, 7 + 80 + 200 + 3000);
}

TEST(Message, ToSuperAnswersInMemoryToo) {
    Derived* derived = [[Derived alloc] init];
    derived.rectangle = NSRect{{1, 2}, {3, 4}};
    const NSRect got = derived.rectangle;
    EXPECT_EQ(got.size.width, 4);
    EXPECT_EQ(got.size.height, 4);
}

TEST(Message, ToNilAnswersZeroOfEveryKind) {
    Base* none = nil;
    EXPECT_EQ(none.value, 0);
    EXPECT_TRUE(none.name == nil);
    EXPECT_EQ(none.rectangle.size.height, 0);
    EXPECT_EQ(none.rectangle.origin.x, 0);
}

TEST(Message, SelectorsOfOneNameAreOne) {
    EXPECT_TRUE(@selector(value) == sel_registerName((std::string("val") + "ue").c_str()));
    EXPECT_STREQ(sel_getName(@selector(setName:)), "setName:");
}

TEST(Message, AskedWhatItAnswersAnObjectSaysIt) {
    Derived* derived = [[Derived alloc] init];
    EXPECT_TRUE([derived respondsToSelector:@selector(value)]);
    EXPECT_TRUE([derived respondsToSelector:@selector(addedLater)]);
    EXPECT_FALSE([derived respondsToSelector:@selector(nobodyHasThis)]);
    EXPECT_TRUE([derived isKindOfClass:[Base class]]);
    EXPECT_FALSE([derived isMemberOfClass:[Base class]]);
    EXPECT_TRUE([derived conformsToProtocol:@protocol(PoliteGreeting)]);
    EXPECT_TRUE([derived conformsToProtocol:@protocol(Greeting)]);
    EXPECT_FALSE([[[Base alloc] init] conformsToProtocol:@protocol(Greeting)]);
    EXPECT_TRUE([Derived class] == objc_lookUpClass("Derived"));
    EXPECT_TRUE(objc_lookUpClass("NoSuchClass") == nil);
}

TEST(Object, VariablesLieBehindThoseThatItsSuperclassHides) {
    BehindHiding* object = [[BehindHiding alloc] init];
    object->own_ = 11;
    object->text_ = "long enough to be kept outside of the string itself";
    object.first = 22;
    object.rectangle = NSRect{{1, 2}, {3, 4}};
    EXPECT_EQ(object->own_, 11);
    EXPECT_EQ(object->text_, "long enough to be kept outside of the string itself");
    EXPECT_EQ(object.first, 22);
    EXPECT_EQ(object.rectangle.size.height, 4);
}

TEST(Object, DiesWithItsLastReference) {
    bool ended = false;
    Base* one = watched(ended);
    Base* two = one;
    one = nil;
    EXPECT_FALSE(ended);
    EXPECT_EQ(two.value, 1);
    two = nil;
    EXPECT_TRUE(ended);
    EXPECT_EQ(alive("Base"), 0U);
}

TEST(Object, NamedWeaklyIsNilFromItsEndOn) {
    bool ended = false;
    __weak Base* weak = nil;
    Base* holder = [[Base alloc] init];
    bool seen = true;
    @autoreleasepool {
        Base* object = watched(ended);
        weak = object;
        holder.other = object;
        object->ended_ = [&] { ended = true, seen = weak != nil; };
        EXPECT_TRUE(weak == object);
        EXPECT_TRUE(holder.other == object);
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(seen) << "while it ends it is nobody's any more";
    EXPECT_TRUE(weak == nil);
    EXPECT_TRUE(holder.other == nil);
}

TEST(Object, NamedWeaklyIsNamedByTheRecordThatTheNameMovesTo) {
    struct Named {
        __weak Base* object;
    };
    bool ended = false;
    Named moved{};
    @autoreleasepool {
        Base* object = watched(ended);
        Named first{object};
        Named second(std::move(first));
        EXPECT_TRUE(second.object == object);
        moved = second;
        EXPECT_TRUE(moved.object == object);
    }
    EXPECT_TRUE(ended);
    EXPECT_TRUE(moved.object == nil);
    @autoreleasepool {
        Base* object = watched(ended);
        auto first = std::make_unique<Named>(Named{object});
        moved.~Named();
        new (&moved) Named(std::move(*first));
        first = nullptr;
    }
    EXPECT_TRUE(moved.object == nil);
}

TEST(Object, AutoreleasedLivesAsLongAsThePool) {
    bool ended = false;
    @autoreleasepool {
        objc_autorelease((__bridge_retained void*)watched(ended));
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended);
}

TEST(Object, PropertiesThatHoldLetGoOfTheOneBefore) {
    bool ended = false;
    @autoreleasepool {
        Base* object = [[Base alloc] init];
        object.child = watched(ended);
        EXPECT_FALSE(ended);
        object.child = [[Base alloc] init];
    }
    EXPECT_TRUE(ended);
    EXPECT_EQ(alive("Base"), 0U);
}

TEST(Object, PropertiesThatCopyHoldTheCopy) {
    Base* object = [[Base alloc] init];
    int sum = 0;
    int* const to = &sum;
    object.block = ^(int added) {
      *to += added;
    };
    EXPECT_EQ(alive("block"), 1U);
    object.block(4);
    EXPECT_EQ(sum, 4);
    object.block = nil;
    EXPECT_EQ(alive("block"), 0U);
    object.name = @"a text";
    EXPECT_STREQ(object.name.UTF8String, "a text");
    object.plainName = @"another";
    EXPECT_STREQ(object.plainName.UTF8String, "another");
}

TEST(Block, KeepsWhatItUses) {
    bool ended = false;
    const auto counted = std::make_shared<int>(0);
    void (^kept)(int) = nil;
    @autoreleasepool {
        Base* object = watched(ended);
        kept = ^(int) {
          (void)object.value;
          ++*counted;
        };
    }
    kept(0);
    EXPECT_FALSE(ended);
    EXPECT_EQ(*counted, 1);
    EXPECT_GE(counted.use_count(), 2);
    kept = nil;
    EXPECT_TRUE(ended);
    EXPECT_EQ(counted.use_count(), 1) << "members with destructors are destroyed";
}

TEST(Block, KeepsNothingThatItNamesWeakly) {
    bool ended = false;
    bool (^isThere)() = nil;
    @autoreleasepool {
        Base* object = watched(ended);
        __weak Base* weak = object;
        isThere = ^{
          return weak != nil;
        };
        EXPECT_TRUE(isThere());
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(isThere());
}

TEST(Block, SharesItsVariablesWithTheFunctionAndOtherBlocks) {
    bool ended = false;
    {
        __block int sum = 1;
        __block Base* object = watched(ended);
        void (^add)(int) = ^(int added) {
          sum += added;
          object = added == 0 ? nil : object;
        };
        int (^read)() = ^{
          return sum;
        };
        add(2);
        EXPECT_EQ(sum, 3);
        sum = 10;
        EXPECT_EQ(read(), 10);
        EXPECT_FALSE(ended);
        add(0);
        EXPECT_TRUE(ended);
        EXPECT_EQ(alive("variable of a block"), 2U);
    }
    EXPECT_EQ(alive("variable of a block"), 0U);
    EXPECT_EQ(alive("block"), 0U);
}

// What is done wrong ends the program, and says what it was.

TEST(MisuseDeathTest, MessageToAFreedObjectNamesClassAndSelector) {
    void* freed = (__bridge_retained void*)[[Derived alloc] init];
    objc_release(freed);
    EXPECT_DEATH((void)[(__bridge Base*)freed value], "value was sent to a freed Derived");
}

TEST(MisuseDeathTest, MessageThatNobodyAnswersNamesClassAndSelector) {
    Base* object = [[Base alloc] init];
    EXPECT_DEATH([object nobodyHasThis], "-\\[Base nobodyHasThis\\] is no method of it");
    EXPECT_DEATH([Base noClassHasThis], "\\+\\[Base noClassHasThis\\] is no method of it");
}

TEST(MisuseDeathTest, ReferenceGivenBackTwiceIsTold) {
    void* object = (__bridge_retained void*)[[Base alloc] init];
    objc_release(object);
    EXPECT_DEATH(objc_release(object), "given back to a freed Base");
    EXPECT_DEATH(objc_retain(object), "taken to a freed Base");
}

TEST(MisuseDeathTest, ReferenceTakenToAnObjectThatEndsIsTold) {
    const auto endWith = [](void (*act)(void*)) {
        Base* object = [[Base alloc] init];
        void* address = (__bridge void*)object;
        object->ended_ = [=] { act(address); };
        object = nil;
    };
    EXPECT_DEATH(endWith([](void* object) { objc_retain(object); }),
                 "a reference was taken to a Base that was being freed");
    EXPECT_DEATH(endWith([](void* object) { objc_release(object); }),
                 "a reference was given back to a Base that was being freed");
}

TEST(MisuseDeathTest, VariableOfAFreedObjectIsSeenByTheSanitizer) {
    bool ended = false;
    void* freed = (__bridge_retained void*)watched<Derived>(ended);
    objc_release(freed);
    ASSERT_TRUE(ended);
    auto* word = static_cast<volatile char*>(freed);
    EXPECT_DEATH(word[8] = 1, "heap-use-after-free");
}

TEST(MisuseDeathTest, WhatIsNoObjectIsTold) {
    std::array<void*, 4> memory{};
    void* none = memory.data();
    EXPECT_DEATH((void)[(__bridge Base*)none value], "value was sent to what is no object");
}

TEST(MisuseDeathTest, PoolThatIsNoneIsTold) {
    EXPECT_DEATH(objc_autoreleasePoolPop(reinterpret_cast<void*>(99)),
                 "a pool was popped that is none");
}

TEST(LeftAlive, FailsTheTestThatLeavesIt) {
    constexpr const char* kLeave = "KORVEL_TEST_LEAVES_OBJECTS";
    if (std::getenv(kLeave) != nullptr) { // this test, started by itself
        objc_retain((__bridge void*)[[Base alloc] init]);
        objc_retain((__bridge void*)[[Derived alloc] init]);
        return;
    }
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    FILE* child = popen((std::string(kLeave) + "=1 '" + program +
                         "' --gtest_filter=LeftAlive.FailsTheTestThatLeavesIt 2>&1")
                            .c_str(),
                        "r");
    ASSERT_NE(child, nullptr);
    std::array<char, 256> line{};
    std::string said;
    while (std::fgets(line.data(), line.size(), child) != nullptr) {
        said += line.data();
    }
    EXPECT_NE(pclose(child), 0) << said;
    EXPECT_NE(said.find("left alive: 1 of Base"), std::string::npos) << said;
    EXPECT_NE(said.find("left alive: 1 of Derived"), std::string::npos) << said;
}
