#pragma once

#include <string>

namespace korvel::platform {

/// What the launcher gave this process, so that the desktop knows that a user has asked for what it
/// shows. Each is empty where none was given.
struct LaunchToken {
    std::string activation; ///< of xdg-activation, for Wayland
    std::string startup;    ///< of startup notification, for X11

    /// The one that counts: launchers that give both mean the same start.
    const std::string& any() const { return activation.empty() ? startup : activation; }
};

/// Whether the session started this process with itself, by the entry that is installed for that.
/// The mark is taken out of the environment.
bool takeAutostartMark();

/// Takes the token out of the environment: it is good for one window, and no child must have it.
LaunchToken takeLaunchToken();

} // namespace korvel::platform
