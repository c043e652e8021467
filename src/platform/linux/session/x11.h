#pragma once

#include <string_view>

#include <xcb/xcb.h>

namespace korvel::platform {

/// The program's connection to the X server, or null where it has none (Wayland).
xcb_connection_t* x11Connection();

/// The server's atom for a name; with `made` it makes one where there is none. XCB_ATOM_NONE where
/// there is none, or no server.
xcb_atom_t x11Atom(std::string_view name, bool made);

/// Whether anyone holds this selection, which is how X programs say that they are there: a tray, a
/// compositor. False without an X server.
bool x11SelectionIsHeld(std::string_view name);

} // namespace korvel::platform
