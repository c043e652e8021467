#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace korvel {

/// Where a window of that size stands for an item at `anchor`: under it, or above where there is
/// no room, and always inside the screen's free area.
QPoint placeAt(const QRect& anchor, QSize size, const QRect& free);

/// What is left of a screen's free area beside a panel at one of its edges. All of it where that
/// is empty, or no panel by its size.
QRect freeBeside(const QRect& panel, const QRect& screen, const QRect& free);

} // namespace korvel
