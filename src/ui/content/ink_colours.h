#pragma once

#include <optional>

#include "ui/content/palette.h"

namespace korvel {

/// What the desktop's windows look like: the strong ones are those of high contrast.
enum class Appearance { light, dark, strongLight, strongDark };

Appearance appearanceOf(bool dark, bool highContrast);
bool isDark(Appearance appearance);
bool isStrong(Appearance appearance);

/// What the popover is painted on.
platform::Colour groundColour(Appearance appearance);

/// The colour of strokes, bars and symbols in `ink`: the palette's five exactly, but in high
/// contrast brought so far from the ground that they stand out from a track as well.
platform::Colour fillColour(Ink ink, Appearance appearance);

/// The colour of the rim that strokes, bars and symbols in `ink` have where the fill alone would be
/// too faint on the popover's ground: the palette's five in a light popover. Nothing where it is
/// not.
std::optional<platform::Colour> rimColour(Ink ink, Appearance appearance);

/// The colour of text in `ink`: like `fillColour`, but readable on the popover's ground, so the
/// palette's is darker in a light popover.
platform::Colour textColour(Ink ink, Appearance appearance);

/// The colour of the lines that carry a meaning in high contrast: tracks, dividers and borders.
platform::Colour strongLineColour(bool dark);

} // namespace korvel
