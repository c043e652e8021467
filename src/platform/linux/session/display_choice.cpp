#include "platform/linux/session/display_choice.h"

namespace korvel::platform {

namespace {

bool layerCanBe(const DisplayFacts& facts) {
    return facts.layerBuilt && facts.wayland->has("zwlr_layer_shell_v1");
}

} // namespace

DisplayChoice chooseDisplay(const DisplayFacts& facts) {
    if (!facts.wayland) {
        return DisplayChoice::byQt;
    }
    const DisplayChoice onWayland =
        layerCanBe(facts) ? DisplayChoice::layer : DisplayChoice::wayland;
    if (!facts.qtPlatform.empty()) {
        const bool named = facts.qtPlatform.starts_with("wayland");
        return !named                           ? DisplayChoice::byQt
               : facts.popoverWish == "wayland" ? DisplayChoice::wayland
                                                : onWayland;
    }
    const bool x11CanBe = facts.x11Named && facts.x11Plugin;
    if (!facts.waylandPlugin) {
        return x11CanBe ? DisplayChoice::x11 : DisplayChoice::byQt;
    }
    if (facts.popoverWish == "wayland") {
        return DisplayChoice::wayland;
    }
    if (facts.popoverWish == "x11" && x11CanBe) {
        return DisplayChoice::x11;
    }
    if (onWayland == DisplayChoice::layer) {
        return DisplayChoice::layer;
    }
    return x11CanBe && facts.xwaylandFits ? DisplayChoice::x11 : DisplayChoice::wayland;
}

} // namespace korvel::platform
