#include "ui/content/contrast.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "ui/content/ink_colours.h"

namespace korvel {
namespace {

using platform::Colour;

constexpr Colour kWhite{1, 1, 1};
constexpr Colour kBlack{0, 0, 0};
constexpr Ink kPalette[] = {Ink::cyan, Ink::pink, Ink::good, Ink::warn, Ink::bad};

/// In degrees; the hue of the hexagonal model, which pickers show.
double hue(const Colour& c) {
    const double high = std::max({c.red, c.green, c.blue});
    const double low = std::min({c.red, c.green, c.blue});
    if (high == c.red) {
        return 60 * std::fmod((c.green - c.blue) / (high - low) + 6, 6);
    }
    return high == c.green ? 60 * ((c.blue - c.red) / (high - low) + 2)
                           : 60 * ((c.red - c.green) / (high - low) + 4);
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

TEST(Contrast, AColourTooLightIsDarkenedInItsOwnHueJustEnough) {
    for (const Colour& ground : {kWhite, groundColour(Appearance::light)}) {
        for (const Ink ink : kPalette) {
            const Colour text = readableOn(ground, rgb(ink));
            EXPECT_GE(contrastRatio(ground, text), kReadableContrast) << name(ink);
            EXPECT_LT(contrastRatio(ground, text), kReadableContrast + 0.1)
                << name(ink) << " is darker than it need be";
            EXPECT_NEAR(hue(text), hue(rgb(ink)), 1) << name(ink);
        }
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

TEST(InkColours, TextIsReadableInBothAppearances) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const Colour ground = groundColour(appearance);
        for (const Ink ink :
             {Ink::cyan, Ink::pink, Ink::good, Ink::warn, Ink::bad, Ink::primary, Ink::secondary}) {
            EXPECT_GE(contrastRatio(ground, textColour(ink, appearance)), 4.5) << name(ink);
        }
        EXPECT_GE(contrastRatio(ground, textColour(Ink::tertiary, appearance)), 3);
    }
}

TEST(InkColours, TheStylesGrowFainter) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const auto contrast = [&](Ink ink) {
            return contrastRatio(groundColour(appearance), textColour(ink, appearance));
        };
        EXPECT_GT(contrast(Ink::primary), contrast(Ink::secondary));
        EXPECT_GT(contrast(Ink::secondary), contrast(Ink::tertiary));
    }
}

TEST(InkColours, FillsAreThePaletteExactlyInBothAppearances) {
    for (const Ink ink : kPalette) {
        EXPECT_EQ(fillColour(ink, Appearance::light), rgb(ink)) << name(ink);
        EXPECT_EQ(fillColour(ink, Appearance::dark), rgb(ink)) << name(ink);
        EXPECT_EQ(textColour(ink, Appearance::dark), rgb(ink)) << name(ink);
    }
}

} // namespace
} // namespace korvel
