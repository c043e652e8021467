#pragma once

namespace korvel {

/// How much of a window is drawn, in whole logical pixels of its width or of its height: Qt's
/// software renderer rounds the window to pixels of the screen, and these down to logical ones
/// again. What lies beyond keeps whatever the memory held.
int drawnLength(int window, double scale);

/// The shortest window of which that much is drawn, to its last pixel of the screen: that length,
/// or one or two logical pixels more.
int lengthDrawing(int needed, double scale);

} // namespace korvel
