#pragma once

#include "platform/status_bar.h"

namespace korvel {

/// A colour as the eye takes it in (OKLCH): the same hue in any lightness looks like the same hue,
/// which in sRGB it does not (darkened orange looks brown, darkened green dull).
struct PerceivedColour {
    double lightness = 0; ///< 0 black to 1 white
    double chroma = 0;    ///< 0 grey; no sRGB colour has more than 0.33
    double hue = 0;       ///< degrees, 0 to 360; means nothing for a grey
};

/// The light that an sRGB channel of 0 to 1 stands for, 0 to 1 too.
double linearLight(double channel);

PerceivedColour perceived(const platform::Colour& colour);

/// The sRGB colour of that lightness and hue, with as much of the chroma as sRGB holds there.
/// `lightness` must lie within its range.
platform::Colour shown(const PerceivedColour& colour);

} // namespace korvel
