#pragma once

#include "platform/status_bar.h"

namespace korvel {

/// The least contrast of text that is to be read, by the Web Content Accessibility Guidelines.
inline constexpr double kReadableContrast = 4.5;

/// The relative luminance of an sRGB colour: 0 black to 1 white.
double relativeLuminance(const platform::Colour& colour);

/// The contrast ratio of two colours, whichever is the lighter: 1 equal to 21 black on white.
double contrastRatio(const platform::Colour& a, const platform::Colour& b);

/// `colour` for what is to have that contrast on `ground`: itself where it has, else the same hue,
/// as the eye sees it, darkened just until it has, in what a screen's 256 levels can show. It keeps
/// as much of its chroma as sRGB holds at that lightness. Black where `ground` is too dark for any
/// darker shade.
platform::Colour darkenedOn(const platform::Colour& ground, const platform::Colour& colour,
                            double contrast);

/// `colour` for text on `ground`, with `kReadableContrast`.
platform::Colour readableOn(const platform::Colour& ground, const platform::Colour& colour);

/// `colour` on black or white `ground` for those who need high contrast: itself where the contrast
/// ratio of the two is `contrast` at least, else the same hue, as the eye sees it, brought away
/// from the ground just until it is. No more than that ground's contrast to white or black can be
/// asked for.
platform::Colour strongOn(const platform::Colour& ground, const platform::Colour& colour,
                          double contrast);

} // namespace korvel
