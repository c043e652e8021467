#include "ui/content/contrast.h"

#include <algorithm>
#include <cmath>

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

bool isDarkerBy(const platform::Colour& ground, const platform::Colour& colour, double contrast) {
    return relativeLuminance(colour) < relativeLuminance(ground) &&
           contrastRatio(ground, colour) >= contrast;
}

} // namespace

double relativeLuminance(const platform::Colour& colour) {
    return 0.2126 * linearLight(colour.red) + 0.7152 * linearLight(colour.green) +
           0.0722 * linearLight(colour.blue);
}

double contrastRatio(const platform::Colour& a, const platform::Colour& b) {
    constexpr double kFlare = 0.05;
    const auto [darker, lighter] = std::minmax({relativeLuminance(a), relativeLuminance(b)});
    return (lighter + kFlare) / (darker + kFlare);
}

platform::Colour darkenedOn(const platform::Colour& ground, const platform::Colour& colour,
                            double contrast) {
    if (contrastRatio(ground, colour) >= contrast) {
        return colour;
    }
    const PerceivedColour original = perceived(colour);
    const auto shade = [&](double lightness) {
        return inLevels(shown({lightness, original.chroma, original.hue}));
    };
    double enough = 0;
    double tooLight = original.lightness;
    while (tooLight - enough > kFinest) {
        const double middle = (enough + tooLight) / 2;
        (isDarkerBy(ground, shade(middle), contrast) ? enough : tooLight) = middle;
    }
    return enough > 0 ? shade(enough) : platform::Colour{};
}

platform::Colour readableOn(const platform::Colour& ground, const platform::Colour& colour) {
    return darkenedOn(ground, colour, kReadableContrast);
}

} // namespace korvel
