#pragma once

#include "ui/content/palette.h"

namespace korvel {

/// What the desktop's windows look like.
enum class Appearance { light, dark };

/// What the popover is painted on.
platform::Colour groundColour(Appearance appearance);

/// The colour of strokes, bars and symbols in `ink`: the palette's five exactly.
platform::Colour fillColour(Ink ink, Appearance appearance);

/// The colour of text in `ink`: like `fillColour`, but readable on the popover's ground, so the
/// palette's is darker in a light popover.
platform::Colour textColour(Ink ink, Appearance appearance);

} // namespace korvel
