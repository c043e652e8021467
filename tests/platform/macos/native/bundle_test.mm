#include "platform/macos/macos_bundle.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#import "platform/macos/native/foundation/foundation.h"
#include "platform/macos/native/runtime/objects.h"

using korvel::platform::MacosBundle;

namespace {

constexpr NSString* kPath = @"/tmp/Korvel.app"; // whose parent everybody may write to
constexpr NSString* kIdentifier = @"com.oxbrook.korvel";

} // namespace

TEST(MacosBundleTest, IsTheMainBundle) {
    [NSBundle runFrom:kPath identifier:kIdentifier info:@{}];
    EXPECT_EQ(MacosBundle().path(), "/tmp/Korvel.app");
}

TEST(MacosBundleTest, GivesTheTextsOfItsInformationAndNothingElse) {
    [NSBundle runFrom:kPath
           identifier:kIdentifier
                 info:@{
                     @"CFBundleShortVersionString" : @"1.2.0",
                     @"Empty" : @"",
                     @"Integer" : @120,
                     @"Real" : @1.5,
                     @"Truth" : @YES,
                     @"List" : @[ @"text" ],
                     @"Dictionary" : @{@"key" : @"text"},
                 }];
    MacosBundle bundle;
    EXPECT_EQ(bundle.infoString("CFBundleShortVersionString"), "1.2.0");
    EXPECT_EQ(bundle.infoString("Empty"), "");
    for (const char* key : {"Integer", "Real", "Truth", "List", "Dictionary", "Absent"}) {
        EXPECT_EQ(bundle.infoString(key), std::nullopt) << key;
    }
}

TEST(MacosBundleTest, KeepsWhatItSaidWhenTheProgramStarted) {
    [NSBundle runFrom:kPath identifier:kIdentifier info:@{@"CFBundleVersion" : @"7"}];
    MacosBundle bundle;
    @autoreleasepool {
        [NSBundle runFrom:@"/tmp/Other.app" identifier:nil info:@{@"CFBundleVersion" : @"8"}];
    }
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), "7");
    EXPECT_EQ(bundle.path(), "/tmp/Korvel.app");
    EXPECT_TRUE(bundle.parentWritable());
}

TEST(MacosBundleTest, CanBeReplacedWhereItsFolderCanBeWritten) {
    [NSBundle runFrom:kPath identifier:kIdentifier info:@{}];
    EXPECT_TRUE(MacosBundle().parentWritable());
    [NSFileManager refuseWritingAt:@"/tmp"];
    EXPECT_FALSE(MacosBundle().parentWritable());
    EXPECT_EQ([NSFileManager askedWhetherWritable], (std::vector<std::string>{"/tmp", "/tmp"}));
}

TEST(MacosBundleTest, OutsideOfABundleNothingIsEverReplaced) {
    [NSBundle runFrom:@"/tmp/bin" identifier:nil info:@{}];
    MacosBundle bundle;
    EXPECT_FALSE(bundle.parentWritable());
    EXPECT_EQ(bundle.path(), "/tmp/bin");
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), std::nullopt);
}

TEST(MacosBundleTest, LetsGoOfItsInformationWhenItEnds) {
    @autoreleasepool {
        [NSBundle runFrom:kPath identifier:kIdentifier info:@{@"key" : [[NSObject alloc] init]}];
        const MacosBundle bundle;
        [NSBundle runFrom:kPath identifier:kIdentifier info:@{}];
        EXPECT_EQ(korvel::objc::liveObjects().count("NSObject"), 1U);
    }
    EXPECT_EQ(korvel::objc::liveObjects().count("NSObject"), 0U);
}
