#include "ui/content/perceived_colour.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace korvel {
namespace {

using platform::Colour;

TEST(PerceivedColours, TheLightOfALevelIsThePublishedOne) {
    // From the table of sRGB's levels: up to 10 they are on its straight part.
    const std::pair<int, double> rows[] = {
        {0, 0},           {1, 0.000303527}, {10, 0.00303527}, {11, 0.00334654}, {12, 0.00367651},
        {15, 0.00477695}, {20, 0.00699541}, {128, 0.215861},  {188, 0.502886},  {255, 1}};
    for (const auto& [level, light] : rows) {
        EXPECT_NEAR(linearLight(level / 255.0), light, 1e-6) << level;
    }
}

TEST(PerceivedColours, AgreeWithPublishedOnes) {
    // From the description of the named colours in CSS Color 4.
    const struct {
        const char* name;
        Colour colour;
        PerceivedColour perceived;
    } rows[] = {
        {"red", {1, 0, 0}, {0.628, 0.2577, 29.23}},
        {"lime", {0, 1, 0}, {0.8664, 0.2948, 142.5}},
        {"blue", {0, 0, 1}, {0.452, 0.3132, 264.05}},
        {"yellow", {1, 1, 0}, {0.968, 0.211, 109.77}},
        {"cyan", {0, 1, 1}, {0.9054, 0.1546, 194.77}},
    };
    for (const auto& row : rows) {
        const PerceivedColour seen = perceived(row.colour);
        EXPECT_NEAR(seen.lightness, row.perceived.lightness, 0.0005) << row.name;
        EXPECT_NEAR(seen.chroma, row.perceived.chroma, 0.0005) << row.name;
        EXPECT_NEAR(seen.hue, row.perceived.hue, 0.05) << row.name;
    }
}

TEST(PerceivedColours, AGreyHasNoChroma) {
    for (const double level : {0.0, 0.2, 0.5, 1.0}) {
        EXPECT_LT(perceived({level, level, level}).chroma, 1e-4) << level;
    }
}

TEST(PerceivedColours, ShowAsTheColourThatTheyAreOf) {
    for (const Colour& colour :
         {Colour{0.22, 0.88, 1}, Colour{1, 0.24, 0.56}, Colour{0.1, 0, 0.6}, Colour{0.5, 0.5, 0.5},
          Colour{1, 1, 1}, Colour{0, 0, 0}, Colour{0.06, 0.06, 0.06}, Colour{0.03, 0.03, 0.03}}) {
        const Colour again = shown(perceived(colour));
        EXPECT_NEAR(again.red, colour.red, 0.001);
        EXPECT_NEAR(again.green, colour.green, 0.001);
        EXPECT_NEAR(again.blue, colour.blue, 0.001);
    }
}

TEST(PerceivedColours, BeyondWhiteThereIsWhiteAndBeyondBlackThereIsBlack) {
    for (const auto& [lightness, channel] : {std::pair(1.1, 1.0), std::pair(-0.1, 0.0)}) {
        const Colour colour = shown({lightness, 0, 0});
        EXPECT_NEAR(colour.red, channel, 1e-12);
        EXPECT_NEAR(colour.green, channel, 1e-12);
        EXPECT_NEAR(colour.blue, channel, 1e-12);
    }
}

TEST(PerceivedColours, BeyondSrgbLoseChromaAndNothingElse) {
    for (double hue = 0; hue < 360; hue += 15) {
        for (const double lightness : {0.3, 0.55, 0.8}) {
            const PerceivedColour held = perceived(shown({lightness, 0.4, hue}));
            EXPECT_NEAR(held.lightness, lightness, 0.001) << hue;
            EXPECT_NEAR(held.hue, hue, 0.1) << hue << " at " << lightness;
            EXPECT_LT(held.chroma, 0.4) << hue;
            // On the edge of what there is: a channel is at one of its ends.
            const Colour edge = shown({lightness, 0.4, hue});
            const auto [least, most] = std::minmax({edge.red, edge.green, edge.blue});
            EXPECT_TRUE(least < 0.01 || most > 0.99) << hue << " at " << lightness;
        }
    }
}

} // namespace
} // namespace korvel
