#include "platform/macos/desktop_facts.h"

#include <gtest/gtest.h>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/appkit.h"

namespace korvel {
namespace {

using platform::desktopFacts;
using platform::keepsAwakeBySettings;

TEST(DesktopFactsOnAppKit, AreTheScreensAndWhatEachOfThemHas) {
    kit::desktop().screens = 2;
    for (const bool separate : {true, false}) {
        kit::desktop().separateSpaces = separate;
        EXPECT_EQ(desktopFacts().screens, 2U);
        EXPECT_EQ(desktopFacts().menuBarOnEach, separate);
    }
    kit::desktop().screen = false;
    EXPECT_EQ(desktopFacts().screens, 0U);
}

TEST(DesktopFactsOnAppKit, NameTheProgramInFront) {
    EXPECT_EQ(desktopFacts().frontApplication, "example.editor");
}

TEST(DesktopFactsOnAppKit, NameNothingWhereNoProgramWithAnIdentifierIsInFront) {
    kit::desktop().frontIdentifier.reset();
    EXPECT_EQ(desktopFacts().frontApplication, "");
    kit::desktop().front = false;
    EXPECT_EQ(desktopFacts().frontApplication, "");
}

TEST(DesktopFactsOnAppKit, KeepAwakeIsWhatTheSettingsOfThatProgramSay) {
    EXPECT_EQ(keepsAwakeBySettings("example.korvel"), std::nullopt);
    for (const bool awake : {true, false}) {
        [NSUserDefaults storeObject:[NSNumber numberWithBool:awake]
                             forKey:@"awakeOn"
                          ofProgram:@"example.korvel"];
        EXPECT_EQ(keepsAwakeBySettings("example.korvel"), std::optional<bool>(awake));
        EXPECT_EQ(keepsAwakeBySettings("example.other"), std::nullopt);
    }
}

} // namespace
} // namespace korvel
