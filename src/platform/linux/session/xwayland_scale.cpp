#include "platform/linux/session/xwayland_scale.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

constexpr double kSame = 0.02; ///< sizes are rounded to whole pixels

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

bool hasDpi(xcb_connection_t* connection, xcb_window_t root) {
    constexpr std::uint32_t kLongest = 16 * 1024; // units of four bytes
    const X11Answer<xcb_get_property_reply_t> resources(
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 0, root, XCB_ATOM_RESOURCE_MANAGER,
                                                XCB_ATOM_STRING, 0, kLongest),
                               nullptr));
    if (!resources) {
        return false;
    }
    const std::string_view text(
        static_cast<const char*>(xcb_get_property_value(resources.get())),
        static_cast<std::size_t>(xcb_get_property_value_length(resources.get())));
    return text.starts_with("Xft.dpi:") || text.find("\nXft.dpi:") != std::string_view::npos;
}

/// Pixels of the output in one unit in which the desktop counts. The output may be turned.
double pixelsPerUnit(const WaylandOutput& output) {
    return static_cast<double>(std::max(output.width, output.height)) /
           std::max(output.logicalWidth, output.logicalHeight);
}

} // namespace

std::optional<X11Screen> askX11() {
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        return std::nullopt;
    }
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    return X11Screen{.width = screen.width_in_pixels,
                     .height = screen.height_in_pixels,
                     .tellsScale = hasDpi(connection.get(), screen.root)};
}

std::optional<XwaylandScale> xwaylandScale(const std::vector<WaylandOutput>& outputs,
                                           const X11Screen& screen) {
    int width = 0;
    double largest = 1; // of the outputs
    double points = 1;  // in a unit, where the desktop counts in pixels and scales what it shows
    for (const WaylandOutput& output : outputs) {
        if (output.logicalWidth <= 0 || output.logicalHeight <= 0) {
            return std::nullopt;
        }
        width = std::max(width, output.logicalX + output.logicalWidth);
        const double pixels = pixelsPerUnit(output);
        largest = std::max(largest, pixels);
        if (pixels < 1 + kSame) {
            points = std::max(points, static_cast<double>(output.scale));
        }
    }
    if (width <= 0 || screen.width <= 0) {
        return std::nullopt;
    }
    XwaylandScale scale;
    scale.pixelsPerPlace = static_cast<double>(screen.width) / width;
    const bool countsInPixels = largest < 1 + kSame;
    scale.pixelsPerPoint = scale.pixelsPerPlace * (countsInPixels ? points : 1);
    scale.sharp = scale.pixelsPerPlace > largest - kSame;
    return scale;
}

} // namespace korvel::platform
