#pragma once

#include "platform/status_bar.h"

namespace korvel {

/// `colour` on black or white `ground` for those who need high contrast: itself where the contrast
/// ratio of the two is `contrast`, else the same hue, as the eye sees it, brought away from the
/// ground just until it is. No more than that ground's contrast to white or black can be asked for.
platform::Colour strongOn(const platform::Colour& ground, const platform::Colour& colour,
                          double contrast);

} // namespace korvel
