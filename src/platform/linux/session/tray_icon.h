#pragma once

#include <QIcon>
#include <QImage>

#include "platform/status_bar.h"

namespace korvel::platform {

/// Draws the values of a title, as a tray can show them, into a square of that many pixels: a tile
/// of the score's colour with the score on it. While the machine is kept awake the tile is a cup on
/// a saucer, and the number is the same to the pixel. Transparent below 8 pixels.
QImage drawTrayIcon(const StatusTitle& title, int pixels);

/// An icon that draws the title anew for each size it is asked for.
QIcon trayIcon(const StatusTitle& title);

} // namespace korvel::platform
