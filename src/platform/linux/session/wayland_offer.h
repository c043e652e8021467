#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvel::platform {

/// One output of a Wayland compositor.
struct WaylandOutput {
    int width = 0; ///< of its mode, in its own pixels, before it is turned
    int height = 0;
    int scale = 1;        ///< whole; of a fractional scale the next greater
    int logicalWidth = 0; ///< as the desktop counts, turned; 0: not told
    int logicalHeight = 0;
    int logicalX = 0; ///< among all outputs
    int logicalY = 0;
};

/// What a Wayland compositor lets its clients do.
struct WaylandOffer {
    std::set<std::string> interfaces; ///< the names of its globals
    std::vector<WaylandOutput> outputs;

    bool has(const std::string& interface) const { return interfaces.contains(interface); }
};

/// Asks the compositor that the environment names; nullopt where none is named or none has answered
/// within `patience`. The connection is closed again.
std::optional<WaylandOffer> askWayland(std::chrono::milliseconds patience);

} // namespace korvel::platform
