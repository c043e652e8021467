#pragma once

#include <cstdint>
#include <string_view>

#include "platform/status_bar.h"

namespace korvel {

/// The program's colours, by name.
enum class PaletteColor { cyan, pink, good, warn, bad };

/// The colour's sRGB channels; opaque.
platform::Colour rgb(PaletteColor color);

/// The colour's name as the simulation prints it.
std::string_view name(PaletteColor color);

/// The colour of a score: good from 72, warn from 55, bad below.
PaletteColor scoreColor(std::int64_t score);

} // namespace korvel
