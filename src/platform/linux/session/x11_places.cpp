#include "platform/linux/session/x11_places.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include "platform/linux/session/wayland_offer.h"
#include "platform/linux/session/x11.h"
#include "platform/linux/session/xwayland_scale.h"

namespace korvel::platform {

namespace {

constexpr int kDeepest = 8; // windows within windows: more than frames, panels and trays need

/// The screen in the server's pixels: its corner is where Qt says, its size is not.
QRect pixelsOf(const QScreen& screen) {
    const QRect points = screen.geometry();
    return {points.topLeft(), (QSizeF(points.size()) * screen.devicePixelRatio()).toSize()};
}

QPoint scaled(QPoint place, QPoint corner, qreal scale) {
    return corner + (QPointF(place - corner) * scale).toPoint();
}

bool keepsScreen(xcb_connection_t* connection, xcb_window_t window) {
    const std::array<xcb_atom_t, 2> names = {x11Atom("_NET_WM_STRUT_PARTIAL", true),
                                             x11Atom("_NET_WM_STRUT", true)};
    for (const xcb_atom_t name : names) {
        const X11Answer<xcb_get_property_reply_t> strut(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, window, name, XCB_ATOM_CARDINAL, 0, 4),
            nullptr));
        if (strut && xcb_get_property_value_length(strut.get()) > 0) {
            return true;
        }
    }
    return false;
}

/// In pixels of the screen.
QRect frameOf(xcb_connection_t* connection, xcb_window_t window) {
    const X11Answer<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    const X11Answer<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, window, x11Root(), 0, 0), nullptr));
    return size && corner ? QRect(corner->dst_x, corner->dst_y, size->width, size->height)
                          : QRect();
}

/// Of a compositor's X server, in one unit in which the desktop counts. Asked at each opening: the
/// scale of an output may have changed without any sign on the X server.
double pixelsPerPlace() {
    constexpr auto kPatience = std::chrono::milliseconds(100);
    const QSize size = frameOf(x11Connection(), x11Root()).size();
    const std::optional<WaylandOffer> offer = askWayland(kPatience);
    const std::optional<XwaylandScale> scale =
        offer ? xwaylandScale(offer->outputs, {.width = size.width(), .height = size.height()})
              : std::nullopt;
    return scale ? scale->pixelsPerPlace : 1;
}

} // namespace

QPoint fromX11Pixel(QPoint pixel) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (pixelsOf(*screen).contains(pixel)) {
            return scaled(pixel, screen->geometry().topLeft(), 1 / screen->devicePixelRatio());
        }
    }
    return pixel;
}

QPoint toX11Pixel(QPoint point) {
    const QScreen* screen = QGuiApplication::screenAt(point);
    return screen ? scaled(point, screen->geometry().topLeft(), screen->devicePixelRatio()) : point;
}

QRect x11WhereAsked(const ActivationRequest& request) {
    constexpr QSize kSpot(1, 1);
    if (!x11IsInsideWayland()) {
        return {QCursor::pos(), kSpot};
    }
    static std::optional<QPoint> last;
    if (request.place) {
        const QPointF place(request.place->x, request.place->y);
        last = fromX11Pixel((place * pixelsPerPlace()).toPoint());
    }
    const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
    return {last.value_or(free.topRight()), kSpot};
}

QRect x11PanelAt(QPoint point) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        return {};
    }
    const QPoint pixel = toX11Pixel(point);
    xcb_window_t window = x11Root();
    for (int depth = 0; depth < kDeepest; ++depth) {
        const X11Answer<xcb_translate_coordinates_reply_t> found(xcb_translate_coordinates_reply(
            connection,
            xcb_translate_coordinates(connection, x11Root(), window,
                                      static_cast<std::int16_t>(pixel.x()),
                                      static_cast<std::int16_t>(pixel.y())),
            nullptr));
        if (!found || found->child == XCB_WINDOW_NONE) {
            break;
        }
        window = found->child;
        if (keepsScreen(connection, window)) {
            const QRect frame = frameOf(connection, window);
            return {fromX11Pixel(frame.topLeft()), fromX11Pixel(frame.bottomRight())};
        }
    }
    return {};
}

double x11TextScale() {
    const bool wayland = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return wayland ? 1 : qGuiApp->devicePixelRatio();
}

} // namespace korvel::platform
