#pragma once

#include <optional>
#include <string>

#include "platform/linux/session/wayland_offer.h"

namespace korvel::platform {

/// The way to the screen, on which depends where the popover can stand.
enum class DisplayChoice {
    byQt,    ///< as Qt finds it: no Wayland compositor, or a platform of Qt's that is neither
    layer,   ///< Wayland, the popover as a surface of the layer shell: at the item
    x11,     ///< an X server, or a compositor's XWayland: at the item
    wayland, ///< Wayland: where the compositor puts a window
};

/// What the choice is made by.
struct DisplayFacts {
    std::optional<WaylandOffer> wayland{}; ///< nullopt: no compositor answers
    bool x11Named = false;                 ///< the environment names an X server
    bool waylandPlugin = false;            ///< Qt's plugin is installed
    bool x11Plugin = false;
    bool layerBuilt = false;   ///< this build can speak the layer shell
    bool xwaylandFits = false; ///< a window through XWayland is sharp
    std::string qtPlatform{};  ///< what the user told Qt (QT_QPA_PLATFORM); empty: nothing
    std::string popoverWish{}; ///< what the user told us (KORVEL_POPOVER): layer, x11 or wayland
};

/// Qt is obeyed before the wish, and the wish, where it can be met, before what is best here.
DisplayChoice chooseDisplay(const DisplayFacts& facts);

} // namespace korvel::platform
