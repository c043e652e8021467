#include "ui/content/perceived_colour.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korvel {

namespace {

constexpr double kHalfCircle = 180;

/// Channels of light, which may lie outside of what sRGB holds.
struct Light {
    double red;
    double green;
    double blue;
};

Light light(const PerceivedColour& colour) {
    const double angle = colour.hue / kHalfCircle * std::numbers::pi;
    const double a = colour.chroma * std::cos(angle);
    const double b = colour.chroma * std::sin(angle);
    const auto cubed = [](double x) { return x * x * x; };
    const double l = cubed(colour.lightness + 0.3963377774 * a + 0.2158037573 * b);
    const double m = cubed(colour.lightness - 0.1055613458 * a - 0.0638541728 * b);
    const double s = cubed(colour.lightness - 0.0894841775 * a - 1.2914855480 * b);
    return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
            -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
            -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

bool isShowable(const Light& light) {
    constexpr double kRounding = 1e-6;
    const auto [least, most] = std::minmax({light.red, light.green, light.blue});
    return least >= -kRounding && most <= 1 + kRounding;
}

double encoded(double light) {
    const double x = std::clamp(light, 0.0, 1.0);
    return x <= 0.0031308 ? x * 12.92 : 1.055 * std::pow(x, 1 / 2.4) - 0.055;
}

} // namespace

double linearLight(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

PerceivedColour perceived(const platform::Colour& colour) {
    const double red = linearLight(colour.red);
    const double green = linearLight(colour.green);
    const double blue = linearLight(colour.blue);
    const double l = std::cbrt(0.4122214708 * red + 0.5363325363 * green + 0.0514459929 * blue);
    const double m = std::cbrt(0.2119034982 * red + 0.6806995451 * green + 0.1073969566 * blue);
    const double s = std::cbrt(0.0883024619 * red + 0.2817188376 * green + 0.6299787005 * blue);
    const double a = 1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s;
    const double b = 0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s;
    const double hue = std::atan2(b, a) / std::numbers::pi * kHalfCircle;
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s, std::hypot(a, b),
            hue < 0 ? hue + 2 * kHalfCircle : hue};
}

platform::Colour shown(const PerceivedColour& colour) {
    PerceivedColour best = colour;
    if (!isShowable(light(colour))) {
        best.chroma = 0;
        for (double step = colour.chroma / 2; step > 1e-5; step /= 2) {
            best.chroma += step;
            if (!isShowable(light(best))) {
                best.chroma -= step;
            }
        }
    }
    const Light channels = light(best);
    return {encoded(channels.red), encoded(channels.green), encoded(channels.blue)};
}

} // namespace korvel
