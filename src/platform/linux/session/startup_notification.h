#pragma once

#include <array>
#include <string>
#include <vector>

class QWindow;

namespace korvel::platform {

/// On X11, says that what the user started with this token begins with this window, which has been
/// created and is about to be mapped. An empty token: with nothing in particular.
void beginStartupWith(QWindow& window, const std::string& token);

/// On X11, says that what the user started with this token has come, so that the desktop stops to
/// show that it waits. Nothing for an empty token.
void completeStartup(const std::string& token);

/// The message that says so, in the pieces in which it is sent; the last is filled with zeros, and
/// holds at least one.
std::vector<std::array<char, 20>> startupCompletion(const std::string& token);

} // namespace korvel::platform
