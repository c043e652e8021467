#pragma once

#include <string>

#include <QMargins>

class QWindow;

namespace korvel::platform {

/// Whether what a window leaves transparent shows what is behind it. An X server alone paints it
/// black; a compositor may come and go while the program runs.
bool desktopBlendsWindows();

/// Asks a Wayland compositor to give a shown window the keyboard, by the token that a host, a
/// daemon or a launcher handed over; empty: by none.
void activateByToken(QWindow& window, const std::string& token);

/// Whether `declareShadow` is understood here. A Wayland compositor takes the whole surface for the
/// window.
bool desktopKnowsShadows();

/// Tells the desktop that these margins of a window, in logical pixels, are its shadow: it does not
/// add one of its own, places the window without them, and hands clicks in them to what is behind.
/// To be said again whenever the window's size has changed. The window has been created.
void declareShadow(QWindow& window, const QMargins& margins);

/// Says that a window is no task of the user's: it has no button in a task bar, is in no overview,
/// and stays above others. The window has been created and is about to be mapped.
void keepOutOfTaskBars(QWindow& window);

} // namespace korvel::platform
