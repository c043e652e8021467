#pragma once

#include <optional>
#include <vector>

#include "platform/linux/session/wayland_offer.h"

namespace korvel::platform {

/// The screen of an X server.
struct X11Screen {
    int width = 0; ///< pixels
    int height = 0;
    bool tellsScale = false; ///< its resources have Xft.dpi, by which Qt scales
};

/// Asks the X server that the environment names, and starts it where it waits for its first
/// program; nullopt where none is named, or it lets nobody in.
std::optional<X11Screen> askX11();

/// How a Wayland compositor shows the windows of its X server.
struct XwaylandScale {
    /// Pixels of the X server in one unit in which the desktop counts its places.
    double pixelsPerPlace = 1;
    /// Pixels of the X server in one point: what a window of the right size is scaled by.
    double pixelsPerPoint = 1;
    /// No pixel of the X server is drawn larger than one of an output.
    bool sharp = false;
};

/// nullopt where the outputs do not tell their logical sizes.
std::optional<XwaylandScale> xwaylandScale(const std::vector<WaylandOutput>& outputs,
                                           const X11Screen& screen);

} // namespace korvel::platform
