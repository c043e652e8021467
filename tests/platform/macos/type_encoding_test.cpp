#include "platform/macos/type_encoding.h"

#include <string>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

struct Case {
    const char* what;
    const char* encoding;
    const char* types;
};

TEST(TypeEncoding, LosesThePlacesOnTheStackAndNothingElse) {
    const Case cases[] = {
        {"nothing", "", ""},
        {"no argument", "v16@0:8", "v@:"},
        {"an object", "v24@0:8@16", "v@:@"},
        {"a truth value and a number", "B28@0:8B16Q20", "B@:BQ"},
        {"a pointer to constant bytes", "@40@0:8r^v16Q24Q32", "@@:r^vQQ"},
        {"a constant text", "r*16@0:8", "r*@:"},
        {"a structure of structures", "v64@0:8{CGRect={CGPoint=dd}{CGSize=dd}}16@48Q56",
         "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@Q"},
        {"a structure with a digit in its name", "{vec2=dd}16@0:8", "{vec2=dd}@:"},
        {"an array keeps its length", "v24@0:8[12i]16", "v@:[12i]"},
        {"a union", "v24@0:8(word=iq)16", "v@:(word=iq)"},
        {"a bit field keeps its width", "b3", "b3"},
        {"a block", "v32@0:8Q16@?24", "v@:Q@?"},
        {"a block with its own encoding", "v24@0:8@?<v@?B@\"NSError\">16",
         "v@:@?<v@?B@\"NSError\">"},
        {"a class by name", "@\"NSString\"16@0:8", "@\"NSString\"@:"},
        {"a place before the frame", "v24@0:8@-16", "v@:@"},
        {"one way", "Vv16@0:8", "Vv@:"},
        {"a pointer to a structure", "v24@0:8^{_NSZone=}16", "v@:^{_NSZone=}"},
        {"no places at all", "v@:@", "v@:@"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(withoutOffsets(each.encoding), each.types) << each.what;
    }
}

TEST(TypeEncoding, EndsAtTheEndOfATextThatIsCutShort) {
    const std::string whole = "v64@0:8{CGRect={CGPoint=dd}}16@?<v@?@\"NSError\">48r^v56b3";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        EXPECT_LE(withoutOffsets(whole.substr(0, length)).size(), length);
    }
    EXPECT_EQ(withoutOffsets("{CGRect={CGPoint=dd}16"), "{CGRect={CGPoint=dd}16");
    EXPECT_EQ(withoutOffsets("@\"NSString"), "@\"NSString");
    EXPECT_EQ(withoutOffsets("r^"), "r^");
}

} // namespace
} // namespace korvel::platform
