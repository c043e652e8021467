#pragma once

#include <string_view>

#include <xcb/xcb.h>

namespace korvel::platform {

/// The program's connection to the X server, or null when it is shown by something else.
xcb_connection_t* x11Connection();

/// The server's number for a name, or none (0) when it cannot be had; `made`: a new one if need be.
xcb_atom_t x11Atom(std::string_view name, bool made);

/// Whether anyone holds this selection, which is how X programs say that they are there: a tray, a
/// compositor. False without an X server.
bool x11SelectionIsHeld(std::string_view name);

} // namespace korvel::platform
