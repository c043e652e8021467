#include "platform/linux/session/x11.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <QGuiApplication>

namespace korvel::platform {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

} // namespace

xcb_connection_t* x11Connection() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t x11Atom(std::string_view name, bool made) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        return XCB_ATOM_NONE;
    }
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
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
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection),
                                      nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

} // namespace korvel::platform
