#include <gtest/gtest.h>

#include <string>

#import "platform/macos/native/foundation/foundation.h"
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
