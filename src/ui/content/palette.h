#pragma once

#include <cstdint>
#include <string_view>

#include "platform/status_bar.h"

namespace korvel {

/// What a piece of the popover is painted in: the palette's five colours, which are the same in
/// light and dark, and the three styles of ink, which the toolkit maps to its own.
enum class Ink { cyan, pink, good, warn, bad, primary, secondary, tertiary };

/// The sRGB channels of one of the five colours; opaque. Fatal for a style, which has none.
platform::Colour rgb(Ink color);

/// The name of a colour or style, as the simulation prints it and the views look it up.
std::string_view name(Ink ink);

/// The colour of a score: good from 72, warn from 55, bad below.
Ink scoreColor(std::int64_t score);

/// The colour of a gauge: bad from `critAt`, else warn from `warnAt`, else good; good for NaN.
Ink gaugeTint(double value, double warnAt, double critAt);

} // namespace korvel
