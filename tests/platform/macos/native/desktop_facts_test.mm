#include "platform/macos/desktop_facts.h"

#include <gtest/gtest.h>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/appkit.h"

namespace korvel {
namespace {

using platform::desktopFacts;
using platform::storedTruth;

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

TEST(DesktopFactsOnAppKit, AStoredTruthIsThatOfTheProgramAndTheKey) {
    EXPECT_EQ(storedTruth("example.korvel", "probe"), std::nullopt);
    for (const bool truth : {true, false}) {
        [NSUserDefaults storeObject:[NSNumber numberWithBool:truth]
                             forKey:@"probe"
                          ofProgram:@"example.korvel"];
        EXPECT_EQ(storedTruth("example.korvel", "probe"), std::optional<bool>(truth));
        EXPECT_EQ(storedTruth("example.korvel", "another"), std::nullopt);
        EXPECT_EQ(storedTruth("example.other", "probe"), std::nullopt);
    }
}

} // namespace
} // namespace korvel
