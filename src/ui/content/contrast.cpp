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

platform::Colour shade(const PerceivedColour& colour, double lightness) {
    return inLevels(shown({lightness, colour.chroma, colour.hue}));
}

/// The lightness nearest to `weak` for which `isEnough` says so, seen from `strong`, for which it
/// is taken to.
template <typename IsEnough>
double nearestThat(double strong, double weak, IsEnough isEnough) {
    while (std::abs(strong - weak) > kFinest) {
        const double middle = (strong + weak) / 2;
        (isEnough(middle) ? strong : weak) = middle;
    }
    return strong;
}

/// `colour`, taken towards that lightness just until it has the contrast.
platform::Colour takenTo(double lightness, const platform::Colour& ground,
                         const platform::Colour& colour, double contrast) {
    if (contrastRatio(ground, colour) >= contrast) {
        return colour;
    }
    const PerceivedColour original = perceived(colour);
    return shade(original, nearestThat(lightness, original.lightness, [&](double tried) {
                     return contrastRatio(ground, shade(original, tried)) >= contrast;
                 }));
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
    return takenTo(0, ground, colour, contrast);
}

platform::Colour readableOn(const platform::Colour& ground, const platform::Colour& colour) {
    return darkenedOn(ground, colour, kReadableContrast);
}

platform::Colour strongOn(const platform::Colour& ground, const platform::Colour& colour,
                          double contrast) {
    const double away = relativeLuminance(ground) > relativeLuminance(colour) ? 0 : 1;
    return takenTo(away, ground, colour, contrast);
}

} // namespace korvel
