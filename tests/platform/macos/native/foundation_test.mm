// The stand-ins of Foundation themselves, where more than one line could be wrong.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

using korvel::platform::toNSString;
using korvel::platform::toString;

TEST(Text, ComesBackAsItWentIn) {
    for (const std::string text : {"", "plain", "● ☕ 87", "𝄞 …"}) {
        EXPECT_EQ(toString(toNSString(text)), text);
    }
    EXPECT_EQ(toString(@"● 𝄞"), "● 𝄞") << "of the source";
    EXPECT_EQ(toString(nil), "");
}

TEST(Text, ThatIsNoUtf8IsEmpty) {
    EXPECT_EQ(toString(toNSString("a\xFFz")), "");
    EXPECT_TRUE(toNSString("a\xFFz") != nil);
    EXPECT_TRUE([[NSString alloc] initWithBytes:"\xC0\x80"
                                         length:2
                                       encoding:NSUTF8StringEncoding] == nil);
}

TEST(Text, LengthCountsUnitsOfUtf16) {
    EXPECT_EQ(toNSString("ab").length, 2U);
    EXPECT_EQ(toNSString("●☕").length, 2U);
    EXPECT_EQ(toNSString("𝄞").length, 2U);
    EXPECT_EQ(@"● 𝄞".length, 4U);
}

TEST(Text, IsEqualByItsCharacters) {
    EXPECT_TRUE([@"● x" isEqual:toNSString("● x")]);
    EXPECT_EQ([@"● x" hash], [toNSString("● x") hash]);
    EXPECT_FALSE([@"a" isEqual:@"b"]);
    EXPECT_FALSE([@"a" isEqual:[[NSObject alloc] init]]);
}

TEST(Text, LastPathComponentIsDeleted) {
    struct {
        const char* path;
        const char* parent;
    } const cases[] = {
        {"/tmp/scratch.tiff", "/tmp"},
        {"/tmp/lock/", "/tmp"},
        {"/tmp", "/"},
        {"/", "/"},
        {"scratch.tiff", ""},
        {"/Applications/Korvel.app", "/Applications"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(toString(toNSString(each.path).stringByDeletingLastPathComponent), each.parent)
            << each.path;
    }
}

TEST(Text, IsReadAsANumberAsFarAsItBeginsWithOne) {
    const struct {
        NSString* text;
        NSInteger whole;
        double real;
        BOOL truth;
    } cases[] = {
        {@"50", 50, 50, YES},
        {@" -7.5 x", -7, -7.5, YES},
        {@"", 0, 0, NO},
        {@"many", 0, 0, NO},
        {@"Yes", 0, 0, YES},
        {@"true", 0, 0, YES},
        {@"no", 0, 0, NO},
        {@"00", 0, 0, NO},
        {@"-01", -1, -1, YES},
        {@"1e2", 1, 100, YES},
        {@"0x10", 0, 0, NO},
        {@"inf", 0, 0, NO},
        {@"99999999999999999999", std::numeric_limits<NSInteger>::max(), 1e20, YES},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.text.integerValue, each.whole) << each.text.UTF8String;
        EXPECT_EQ(each.text.doubleValue, each.real) << each.text.UTF8String;
        EXPECT_EQ(each.text.boolValue, each.truth) << each.text.UTF8String;
    }
}

TEST(Number, KeepsTheTypeThatItWasMadeOf) {
    EXPECT_STREQ((@7).objCType, "q");
    EXPECT_STREQ((@7.0).objCType, "d");
    EXPECT_STREQ((@YES).objCType, "c");
    EXPECT_FALSE([@7 isEqual:@7.5]);
    EXPECT_TRUE([@7 isEqual:@7]);
}

TEST(Number, OfARealOneTheWholeIsWhatAnIntegerHolds) {
    EXPECT_EQ((@(-3.9)).integerValue, -3);
    EXPECT_EQ((@1e300).integerValue, std::numeric_limits<NSInteger>::max());
    EXPECT_EQ((@(-1e300)).integerValue, std::numeric_limits<NSInteger>::min());
    EXPECT_EQ([NSNumber numberWithDouble:std::nan("")].integerValue, 0);
}

TEST(Collections, HoldWhatTheyAreGivenUntilTheyEnd) {
    @autoreleasepool {
        NSDictionary* dictionary = @{@"one" : @1, @"two" : [[NSObject alloc] init]};
        NSArray* array = @[ dictionary, [[NSObject alloc] init] ];
        EXPECT_EQ(array.count, 2U);
        EXPECT_EQ([[[array objectAtIndex:0] objectForKey:toNSString("one")] integerValue], 1);
        EXPECT_TRUE([dictionary objectForKey:@"three"] == nil);
        EXPECT_EQ(korvel::objc::liveObjects().at("NSObject"), 2U);
    }
    EXPECT_EQ(korvel::objc::liveObjects().count("NSObject"), 0U);
}

TEST(AttributedText, KeepsAttributesOfItsCharactersWhenItIsAppended) {
    NSMutableAttributedString* first = [[NSMutableAttributedString alloc] initWithString:@"● ab"];
    [first addAttribute:@"size" value:@9 range:NSMakeRange(0, 2)];
    NSMutableAttributedString* all = [[NSMutableAttributedString alloc] init];
    [all appendAttributedString:first];
    [all appendAttributedString:[[NSAttributedString alloc] initWithString:@"c"]];
    [first addAttribute:@"size" value:@1 range:NSMakeRange(0, first.length)];
    const auto runs = korvel::objc::runsOf([all copy]);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].text, "● ");
    EXPECT_TRUE([runs[0].attributes.at("size") isEqual:@9]);
    EXPECT_EQ(runs[1].text, "abc");
    EXPECT_TRUE(runs[1].attributes.empty());
    EXPECT_EQ(toString(all.string), "● abc");
}

TEST(MisuseDeathTest, WhatFoundationRefusesIsTold) {
    NSMutableAttributedString* text = [[NSMutableAttributedString alloc] initWithString:@"ab"];
    EXPECT_DEATH([text addAttribute:@"size" value:@9 range:NSMakeRange(1, 2)],
                 "outside of the text");
    EXPECT_DEATH((void)[NSURL fileURLWithPath:nil], "a URL was made of nil");
    EXPECT_DEATH((void)[NSArray arrayWithObject:nil], "to hold nil");
    EXPECT_DEATH([NSUserDefaults.standardUserDefaults setObject:text forKey:@"key"],
                 "no value of a property list");
}
