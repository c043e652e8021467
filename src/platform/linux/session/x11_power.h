#pragma once

#include "platform/linux/session/power_grantor.h"

namespace korvel::platform {

/// The X server's own screen saver and its power management of the display (DPMS), suspended for as
/// long as the program's connection asks for it. Not under XWayland, whose server has no display.
/// The server cannot be asked whether they are suspended. A desktop's own idle timers do not heed
/// it, so it gives way to every service.
std::unique_ptr<PowerGrantor> x11PowerGrantor();

} // namespace korvel::platform
