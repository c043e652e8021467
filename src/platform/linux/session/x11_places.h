#pragma once

#include <QPoint>
#include <QRect>

#include "platform/status_bar.h"

namespace korvel::platform {

/// Where a pixel of the X server is as Qt counts, which divides by the scale of its screen; and
/// back.
QPoint fromX11Pixel(QPoint pixel);
QPoint toX11Pixel(QPoint point);

/// Where the popover is asked for, for a bar that does not tell where its item is: at the pointer,
/// which has just clicked there. Through a Wayland compositor the pointer is only known over X
/// windows, and the place in the request counts; without one the last that came, or else the top
/// right corner of the first screen.
QRect x11WhereAsked(const ActivationRequest& request);

/// The window at a place that keeps a part of the screen to itself, as panels do, as Qt counts. An
/// empty rectangle where there is none. Not every window manager tells what its panels leave free.
QRect x11PanelAt(QPoint point);

/// By how much Qt scales for what the X server says of its screen (Xft.dpi), a number in which some
/// desktops put their size of text too; 1 on Wayland, where the scale is the screen's alone.
double x11TextScale();

} // namespace korvel::platform
