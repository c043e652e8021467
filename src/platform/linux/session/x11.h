#pragma once

#include <cstdlib>
#include <memory>
#include <string_view>

#include <xcb/xcb.h>

namespace korvel::platform {

struct FreeX11Answer {
    void operator()(void* answer) const { std::free(answer); }
};

/// An event, or the answer to a question; null where the server gave an error instead, or is gone.
template <typename T>
using X11Answer = std::unique_ptr<T, FreeX11Answer>;

/// The program's connection to the X server, or null where it has none (Wayland).
xcb_connection_t* x11Connection();

/// Whether the X server is one that a Wayland compositor shows its X programs with.
bool x11IsInsideWayland();

/// The root window of the screen that the program is on. XCB_WINDOW_NONE without an X server.
xcb_window_t x11Root();

/// The server's atom for a name; with `made` it makes one where there is none. XCB_ATOM_NONE where
/// there is none, or no server.
xcb_atom_t x11Atom(std::string_view name, bool made);

/// Whether anyone holds this selection, which is how X programs say that they are there: a tray, a
/// compositor. False without an X server.
bool x11SelectionIsHeld(std::string_view name);

} // namespace korvel::platform
