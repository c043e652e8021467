#include "ui/content/contrast.h"

#include <algorithm>
#include <cmath>

namespace korvel {

namespace {

constexpr double kLevels = 255;

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

/// Scaling the channels alike keeps hue and saturation. Rounded down to what a screen can show, so
/// that painting cannot take back any of the contrast.
platform::Colour darkened(const platform::Colour& colour, double share) {
    const auto scaled = [share](double channel) {
        return std::floor(channel * share * kLevels) / kLevels;
    };
    return {scaled(colour.red), scaled(colour.green), scaled(colour.blue)};
}

} // namespace

double relativeLuminance(const platform::Colour& colour) {
    return 0.2126 * linear(colour.red) + 0.7152 * linear(colour.green) +
           0.0722 * linear(colour.blue);
}

double contrastRatio(const platform::Colour& a, const platform::Colour& b) {
    constexpr double kFlare = 0.05;
    const auto [darker, lighter] = std::minmax({relativeLuminance(a), relativeLuminance(b)});
    return (lighter + kFlare) / (darker + kFlare);
}

platform::Colour readableOn(const platform::Colour& ground, const platform::Colour& colour) {
    if (contrastRatio(ground, colour) >= kReadableContrast) {
        return colour;
    }
    for (double level = kLevels - 1; level > 0; --level) {
        const platform::Colour candidate = darkened(colour, level / kLevels);
        if (relativeLuminance(candidate) < relativeLuminance(ground) &&
            contrastRatio(ground, candidate) >= kReadableContrast) {
            return candidate;
        }
    }
    return {};
}

} // namespace korvel
