#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/status_bar.h"

class QMargins;
class QScreen;
class QWindow;

namespace korvel::platform {

/// Stands one window at the tray item by the layer shell, the protocol by which a Wayland
/// compositor lets a program say where a surface of its own stands. The window then has no entry in
/// a list of windows, is above the others, is kept off the bars, and has the keyboard for itself.
class LayerSurface {
  public:
    virtual ~LayerSurface() = default;

    /// To be called when the window has been created, and before it is first shown.
    virtual void adopt(QWindow& window) = 0;

    /// To be called before the window is shown. `place` is of the click, among all outputs in their
    /// logical pixels; without one the last place counts, or the corner where most trays are. A
    /// click anywhere outside the window then calls `clickedOutside`, and whoever is there does
    /// not hear of it. Gives the screen that the window is to open on; null where there is none.
    virtual QScreen* open(std::optional<Point> place, std::function<void()> clickedOutside) = 0;

    /// Stands the window in its present size, of which these margins are its shadow; to be called
    /// whenever that has changed.
    virtual void fit(QWindow& window, const QMargins& shadow) = 0;

    /// To be called when the window has been hidden: clicks go where they went.
    virtual void closed() = 0;
};

/// Whether this build can speak the layer shell.
bool layerSurfacesAreBuilt();

/// Null where this build cannot. Only where the compositor offers the layer shell.
std::unique_ptr<LayerSurface> makeLayerSurface();

} // namespace korvel::platform
