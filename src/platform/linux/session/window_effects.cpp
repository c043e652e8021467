#include "platform/linux/session/window_effects.h"

#include <array>
#include <cstdint>
#include <string_view>

#include <QGuiApplication>
#include <QWindow>

#include <xcb/shape.h>

#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

/// The property by which toolkits that draw their own frames tell the width of the shadow.
constexpr std::string_view kExtents = "_GTK_FRAME_EXTENTS";

} // namespace

bool desktopBlendsWindows() {
    if (x11Connection()) {
        // Of the first screen alone: Qt shows no window on the other screens of a server.
        return x11SelectionIsHeld("_NET_WM_CM_S0");
    }
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

void activateByToken(QWindow& window, const std::string& token) {
    constexpr const char* kToken = "XDG_ACTIVATION_TOKEN"; // from where Qt takes it
    if (!token.empty()) {
        qputenv(kToken, QByteArray::fromStdString(token));
    }
    window.requestActivate();
    qunsetenv(kToken); // no child must have it, and no other window
}

bool desktopKnowsShadows() {
    return x11Connection() != nullptr;
}

void declareShadow(QWindow& window, const QMargins& margins) {
    const xcb_atom_t extents = x11Atom(kExtents, true);
    if (extents == XCB_ATOM_NONE) {
        return;
    }
    xcb_connection_t* connection = x11Connection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    if (margins.isNull()) {
        xcb_delete_property(connection, id, extents);
        xcb_shape_mask(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, id, 0, 0, XCB_PIXMAP_NONE);
    } else {
        const qreal scale = window.devicePixelRatio();
        const auto pixels = [scale](int length) { return qRound(length * scale); };
        const std::array<std::uint32_t, 4> edges = {
            static_cast<std::uint32_t>(pixels(margins.left())),
            static_cast<std::uint32_t>(pixels(margins.right())),
            static_cast<std::uint32_t>(pixels(margins.top())),
            static_cast<std::uint32_t>(pixels(margins.bottom()))};
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, extents, XCB_ATOM_CARDINAL, 32,
                            edges.size(), edges.data());
        const QSize inner = window.size().shrunkBy(margins);
        const xcb_rectangle_t taken = {static_cast<std::int16_t>(pixels(margins.left())),
                                       static_cast<std::int16_t>(pixels(margins.top())),
                                       static_cast<std::uint16_t>(pixels(inner.width())),
                                       static_cast<std::uint16_t>(pixels(inner.height()))};
        xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, id, 0, 0, 1, &taken);
    }
    xcb_flush(connection);
}

void keepOutOfTaskBars(QWindow& window) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        return;
    }
    // Qt adds its own to what is there. A window manager takes the property away with the window.
    const std::array<xcb_atom_t, 3> states = {x11Atom("_NET_WM_STATE_SKIP_TASKBAR", true),
                                              x11Atom("_NET_WM_STATE_SKIP_PAGER", true),
                                              x11Atom("_NET_WM_STATE_ABOVE", true)};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE,
                        static_cast<xcb_window_t>(window.winId()), x11Atom("_NET_WM_STATE", true),
                        XCB_ATOM_ATOM, 32, states.size(), states.data());
}

} // namespace korvel::platform
