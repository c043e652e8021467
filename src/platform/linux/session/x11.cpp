#include "platform/linux/session/x11.h"

#include <cstdint>

#include <QGuiApplication>

namespace korvel::platform {

xcb_connection_t* x11Connection() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

bool x11IsInsideWayland() {
    return x11Connection() && qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

xcb_window_t x11Root() {
    if (xcb_connection_t* connection = x11Connection()) {
        // Of the first screen alone: Qt shows no window on the other screens of a server.
        return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    }
    return XCB_WINDOW_NONE;
}

xcb_atom_t x11Atom(std::string_view name, bool made) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        return XCB_ATOM_NONE;
    }
    const X11Answer<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection,
                              xcb_intern_atom(connection, made ? 0 : 1,
                                              static_cast<std::uint16_t>(name.size()), name.data()),
                              nullptr));
    if (!reply) {
        return XCB_ATOM_NONE;
    }
    return reply->atom;
}

bool x11SelectionIsHeld(std::string_view name) {
    const xcb_atom_t selection = x11Atom(name, false);
    if (selection == XCB_ATOM_NONE) {
        return false;
    }
    xcb_connection_t* connection = x11Connection();
    const X11Answer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

} // namespace korvel::platform
