#include "ui/content/strong_colour.h"

#include <cmath>

#include "ui/content/contrast.h"
#include "ui/content/perceived_colour.h"

namespace korvel {

namespace {

constexpr double kFinest = 1e-4; ///< of lightness; a screen's level is some thirty times that

/// What a screen can show of it.
platform::Colour inLevels(const platform::Colour& colour) {
    constexpr double kHighest = 255;
    const auto level = [](double channel) { return std::round(channel * kHighest) / kHighest; };
    return {level(colour.red), level(colour.green), level(colour.blue)};
}

} // namespace

platform::Colour strongOn(const platform::Colour& ground, const platform::Colour& colour,
                          double contrast) {
    if (contrastRatio(ground, colour) >= contrast) {
        return colour;
    }
    const PerceivedColour original = perceived(colour);
    const auto at = [&](double lightness) {
        return inLevels(shown({lightness, original.chroma, original.hue}));
    };
    double strong = relativeLuminance(ground) > relativeLuminance(colour) ? 0 : 1;
    double weak = original.lightness;
    while (std::abs(strong - weak) > kFinest) {
        const double middle = (strong + weak) / 2;
        (contrastRatio(ground, at(middle)) >= contrast ? strong : weak) = middle;
    }
    return at(strong);
}

} // namespace korvel
