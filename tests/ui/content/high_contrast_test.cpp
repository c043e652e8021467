#include <cmath>

#include <gtest/gtest.h>

#include "ui/content/contrast.h"
#include "ui/content/ink_colours.h"
#include "ui/content/perceived_colour.h"
#include "ui/content/popover_sizes.h"

namespace korvel {
namespace {

using platform::Colour;

constexpr Ink kHues[] = {Ink::cyan, Ink::pink, Ink::good, Ink::warn, Ink::bad};
constexpr Ink kStyles[] = {Ink::primary, Ink::secondary, Ink::tertiary};
constexpr Appearance kStrong[] = {Appearance::strongLight, Appearance::strongDark};
constexpr double kText = 7;
constexpr double kLine = 3;

/// `colour` laid over `ground` with that opacity.
Colour laid(const Colour& colour, double opacity, const Colour& ground) {
    const auto mixed = [opacity](double over, double under) {
        return over * opacity + under * (1 - opacity);
    };
    return {mixed(colour.red, ground.red), mixed(colour.green, ground.green),
            mixed(colour.blue, ground.blue)};
}

TEST(HighContrast, IsLightOrDarkAsThePopoverIs) {
    for (const bool dark : {false, true}) {
        EXPECT_EQ(isDark(appearanceOf(dark, true)), dark);
        EXPECT_TRUE(isStrong(appearanceOf(dark, true)));
        EXPECT_EQ(isDark(appearanceOf(dark, false)), dark);
        EXPECT_FALSE(isStrong(appearanceOf(dark, false)));
        EXPECT_EQ(relativeLuminance(groundColour(appearanceOf(dark, true))), dark ? 0 : 1);
    }
}

TEST(HighContrast, TextHasSevenToOneOnTheGroundAndOnWhatIsLaidUnderIt) {
    for (const Appearance appearance : kStrong) {
        const Colour ground = groundColour(appearance);
        const Colour card =
            laid(fillColour(Ink::cyan, appearance), PopoverConstants::kBannerFillOpacity, ground);
        for (const Ink ink : kStyles) {
            EXPECT_GE(contrastRatio(ground, textColour(ink, appearance)), kText) << name(ink);
        }
        for (const Ink ink : kHues) {
            EXPECT_GE(contrastRatio(ground, textColour(ink, appearance)), kText) << name(ink);
        }
        for (const Ink ink : {Ink::primary, Ink::secondary}) {
            EXPECT_GE(contrastRatio(card, textColour(ink, appearance)), kText) << name(ink);
        }
        const Colour primary = textColour(Ink::primary, appearance);
        EXPECT_GE(
            contrastRatio(laid(primary, PopoverConstants::kHighlightOpacity, ground), primary),
            kText);
    }
}

TEST(HighContrast, ALineHasThreeToOneOnTheGroundAndSoHasABarOnItsTrack) {
    for (const Appearance appearance : kStrong) {
        const Colour line = strongLineColour(isDark(appearance));
        EXPECT_GE(contrastRatio(groundColour(appearance), line), kLine);
        for (const Ink ink : kHues) {
            EXPECT_GE(contrastRatio(line, fillColour(ink, appearance)), kLine) << name(ink);
        }
    }
}

TEST(HighContrast, AHueIsThreeTimesAsStrongAsALineAndNoStrongerThanItMustBe) {
    constexpr double kHue = 9.3;
    constexpr double kLevel = 0.3; // what a level of the screen may add
    for (const Appearance appearance : kStrong) {
        for (const Ink ink : kHues) {
            const Colour fill = fillColour(ink, appearance);
            const double contrast = contrastRatio(groundColour(appearance), fill);
            EXPECT_GE(contrast, kHue) << name(ink);
            EXPECT_TRUE(contrast < kHue + kLevel || fill == rgb(ink)) << name(ink);
        }
    }
}

TEST(HighContrast, TheHuesStayWhatTheyAre) {
    constexpr double kUnseen = 6; // degrees, of what a screen's levels leave of a hue
    for (const Appearance appearance : kStrong) {
        for (const Ink ink : kHues) {
            const double hue = perceived(fillColour(ink, appearance)).hue;
            EXPECT_LT(std::abs(std::remainder(hue - perceived(rgb(ink)).hue, 360)), kUnseen)
                << name(ink);
        }
    }
}

TEST(HighContrast, TheStylesCanStillBeToldApart) {
    for (const Appearance appearance : kStrong) {
        const auto contrast = [&](Ink ink) {
            return contrastRatio(groundColour(appearance), textColour(ink, appearance));
        };
        EXPECT_GE(contrast(Ink::primary), 1.5 * contrast(Ink::secondary));
        EXPECT_GE(contrast(Ink::secondary), 1.5 * contrast(Ink::tertiary));
    }
}

TEST(StrongOn, WhatIsTheGroundItselfIsTakenToLight) {
    const Colour black{0, 0, 0};
    EXPECT_GE(contrastRatio(black, strongOn(black, black, 7)), 7);
}

TEST(StrongOn, LeavesWhatIsStrongEnoughAndGoesNoFurtherThanItMust) {
    const Colour black{0, 0, 0};
    const Colour white{1, 1, 1};
    EXPECT_EQ(strongOn(black, rgb(Ink::cyan), 9), rgb(Ink::cyan));
    for (const Colour& ground : {black, white}) {
        for (const Ink ink : kHues) {
            const double contrast = contrastRatio(ground, strongOn(ground, rgb(ink), 15));
            EXPECT_GE(contrast, 15) << name(ink);
            EXPECT_LT(contrast, 15.6) << name(ink);
        }
    }
}

} // namespace
} // namespace korvel
