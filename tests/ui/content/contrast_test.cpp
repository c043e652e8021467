#include "ui/content/contrast.h"

#include <cmath>
#include <cstdint>
#include <optional>

#include <gtest/gtest.h>

#include "ui/content/ink_colours.h"
#include "ui/content/perceived_colour.h"
#include "ui/content/popover_sizes.h"

namespace korvel {
namespace {

using platform::Colour;

constexpr Colour kWhite{1, 1, 1};
constexpr Colour kBlack{0, 0, 0};
constexpr Ink kPalette[] = {Ink::cyan, Ink::pink, Ink::good, Ink::warn, Ink::bad};

constexpr Ink kInks[] = {Ink::cyan, Ink::pink,    Ink::good,      Ink::warn,
                         Ink::bad,  Ink::primary, Ink::secondary, Ink::tertiary};

/// Degrees between two hues.
double between(double hue, double other) {
    return std::abs(std::remainder(hue - other, 360));
}

TEST(Contrast, KnowsTheEnds) {
    EXPECT_DOUBLE_EQ(relativeLuminance(kBlack), 0);
    EXPECT_DOUBLE_EQ(relativeLuminance(kWhite), 1);
    EXPECT_DOUBLE_EQ(contrastRatio(kBlack, kWhite), 21);
    EXPECT_DOUBLE_EQ(contrastRatio(kWhite, kBlack), 21);
    EXPECT_DOUBLE_EQ(contrastRatio(kWhite, kWhite), 1);
}

TEST(Contrast, AgreesWithPublishedPairs) {
    const Colour grey{0x77 / 255.0, 0x77 / 255.0, 0x77 / 255.0};
    EXPECT_NEAR(contrastRatio(grey, kWhite), 4.48, 0.005);
    EXPECT_NEAR(contrastRatio({1, 0, 0}, kWhite), 4.00, 0.005);
    EXPECT_NEAR(contrastRatio({0, 0, 1}, kWhite), 8.59, 0.005);
}

TEST(Contrast, AReadableColourStaysAsItIs) {
    const Colour navy{0, 0, 0.5};
    EXPECT_EQ(readableOn(kWhite, navy), navy);
    for (const Ink ink : kPalette) {
        EXPECT_EQ(readableOn(groundColour(Appearance::dark), rgb(ink)), rgb(ink)) << name(ink);
    }
}

TEST(Contrast, AColourTooLightIsDarkenedInTheHueThatIsSeenJustEnough) {
    for (const Colour& ground : {kWhite, groundColour(Appearance::light)}) {
        for (const Ink ink : kPalette) {
            const Colour text = readableOn(ground, rgb(ink));
            EXPECT_GE(contrastRatio(ground, text), kReadableContrast) << name(ink);
            EXPECT_LT(contrastRatio(ground, text), kReadableContrast + 0.1)
                << name(ink) << " is darker than it need be";
            EXPECT_LT(between(perceived(text).hue, perceived(rgb(ink)).hue), 1) << name(ink);
        }
    }
}

TEST(Contrast, TheDarkenedColourIsAsStrongAsItWasOrAsSrgbHolds) {
    for (const Ink ink : kPalette) {
        const PerceivedColour original = perceived(rgb(ink));
        PerceivedColour text = perceived(readableOn(kWhite, rgb(ink)));
        EXPECT_LT(text.chroma, original.chroma + 0.003) << name(ink);
        text.chroma = original.chroma;
        const Colour strongest = shown(text);
        EXPECT_NEAR(perceived(readableOn(kWhite, rgb(ink))).chroma, perceived(strongest).chroma,
                    0.003)
            << name(ink);
    }
}

TEST(Contrast, TheDarkenedColourIsOneThatAScreenCanShow) {
    for (const Ink ink : kPalette) {
        const Colour text = readableOn(kWhite, rgb(ink));
        for (const double channel : {text.red, text.green, text.blue}) {
            EXPECT_NEAR(channel * 255, std::round(channel * 255), 1e-9) << name(ink);
        }
    }
}

TEST(Contrast, BlackIsTheLastResort) {
    EXPECT_EQ(readableOn({0.2, 0.2, 0.2}, {0.3, 0.2, 0.2}), kBlack);
}

/// A colour as a page writes it: 0xf8f8fa.
Colour ofLevels(std::uint32_t levels) {
    return {(levels >> 16) / 255.0, (levels >> 8 & 0xff) / 255.0, (levels & 0xff) / 255.0};
}

TEST(InkColours, TheGroundAndTheStylesAreThese) {
    const struct {
        Appearance appearance;
        std::uint32_t ground, primary, secondary, tertiary;
    } rows[] = {
        {Appearance::light, 0xf8f8fa, 0x1c1c20, 0x50515a, 0x6f707a},
        {Appearance::dark, 0x1f2023, 0xf3f3f6, 0xadaeb6, 0x858690},
        {Appearance::strongLight, 0xffffff, 0x000000, 0x333333, 0x555555},
        {Appearance::strongDark, 0x000000, 0xffffff, 0xc8c8c8, 0x9b9b9b},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(groundColour(row.appearance), ofLevels(row.ground)) << std::hex << row.ground;
        EXPECT_EQ(fillColour(Ink::primary, row.appearance), ofLevels(row.primary));
        EXPECT_EQ(fillColour(Ink::secondary, row.appearance), ofLevels(row.secondary));
        EXPECT_EQ(fillColour(Ink::tertiary, row.appearance), ofLevels(row.tertiary));
    }
    EXPECT_EQ(strongLineColour(false), ofLevels(0x939393));
    EXPECT_EQ(strongLineColour(true), ofLevels(0x5b5b5b));
}

TEST(InkColours, TextIsReadableInBothAppearances) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        for (const Ink ink : kInks) {
            EXPECT_GE(contrastRatio(groundColour(appearance), textColour(ink, appearance)), 4.5)
                << name(ink);
        }
    }
}

TEST(InkColours, TheStylesAreFarEnoughApartToBeToldApart) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const auto contrast = [&](Ink ink) {
            return contrastRatio(groundColour(appearance), textColour(ink, appearance));
        };
        EXPECT_GE(contrast(Ink::primary), 1.5 * contrast(Ink::secondary));
        EXPECT_GE(contrast(Ink::secondary), 1.5 * contrast(Ink::tertiary));
        EXPECT_GE(contrast(Ink::secondary), 6.5);
    }
}

TEST(InkColours, AStyleIsTheSameForTextAndForSymbols) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        for (const Ink ink : {Ink::primary, Ink::secondary, Ink::tertiary}) {
            EXPECT_EQ(textColour(ink, appearance), fillColour(ink, appearance)) << name(ink);
        }
    }
}

TEST(InkColours, FillsAreThePaletteExactlyInBothAppearances) {
    for (const Ink ink : kPalette) {
        EXPECT_EQ(fillColour(ink, Appearance::light), rgb(ink)) << name(ink);
        EXPECT_EQ(fillColour(ink, Appearance::dark), rgb(ink)) << name(ink);
        EXPECT_EQ(textColour(ink, Appearance::dark), rgb(ink)) << name(ink);
    }
}

TEST(InkColours, TheRimOfAFillIsSeenOnTheGroundAndOnItsTrackInTheFillsHue) {
    const Colour ground = groundColour(Appearance::light);
    const Colour ink = textColour(Ink::primary, Appearance::light);
    const auto over = [](double channel, double below) {
        constexpr double kShare = PopoverConstants::kDialTrackOpacity; // the darkest of the tracks
        return channel * kShare + below * (1 - kShare);
    };
    const Colour track{over(ink.red, ground.red), over(ink.green, ground.green),
                       over(ink.blue, ground.blue)};
    for (const Ink fill : kPalette) {
        const std::optional<Colour> rim = rimColour(fill, Appearance::light);
        ASSERT_TRUE(rim) << name(fill);
        EXPECT_GE(contrastRatio(ground, *rim), 3) << name(fill);
        EXPECT_GE(contrastRatio(track, *rim), 3) << name(fill);
        EXPECT_LT(between(perceived(*rim).hue, perceived(rgb(fill)).hue), 1) << name(fill);
    }
}

TEST(InkColours, WhatIsSeenWithoutARimHasNone) {
    for (const Appearance appearance :
         {Appearance::dark, Appearance::strongLight, Appearance::strongDark}) {
        for (const Ink ink : kInks) {
            EXPECT_FALSE(rimColour(ink, appearance)) << name(ink);
        }
    }
    for (const Ink style : {Ink::primary, Ink::secondary, Ink::tertiary}) {
        EXPECT_FALSE(rimColour(style, Appearance::light)) << name(style);
    }
}

} // namespace
} // namespace korvel
