#pragma once

#include <chrono>
#include <string>

#include "platform/linux/session/display_choice.h"

namespace korvel::platform {

/// Sets the environment variables that Qt and the D-Bus library read. To be called before the
/// application object is made.
///
/// A desktop's own theme plugin would load its whole toolkit (tens of megabytes) for fonts and
/// dialogs that this program has no use for: it stays out unless the environment asks for it. A
/// session without a bus stays one: left to itself, the D-Bus library would start a bus here. A bus
/// that takes no notice of this process for `busPatience` is left out for good, for the library
/// would wait for it, and everything with it, for 25 seconds and again. The bus of a session that
/// is starting on a busy machine may take a second or two, and without it there is no icon in the
/// tray.
///
/// A program that carries its own Qt, with a qt.conf beside it, must not load what was built for
/// another: folders that the environment names for plugins and modules are forgotten, and where it
/// asks for a platform that was not carried along, one that was is taken. `executable` is the path
/// of the program; empty: it carries nothing.
void prepareEnvironment(const std::string& executable = {},
                        std::chrono::milliseconds busPatience = std::chrono::seconds(5));

/// Asks the compositor what it offers, chooses the way to the screen, and tells Qt of it. To be
/// called before the application object is made, and before `prepareEnvironment`.
DisplayChoice prepareDisplay(const std::string& executable);

/// Has a session manager that saves the session not start the program with the next one: that is
/// left to the desktop's list of programs to start, and started by both, the program would open its
/// popover at each login. To be called once the application object is made.
void keepOutOfSavedSessions();

} // namespace korvel::platform
