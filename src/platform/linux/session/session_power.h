#pragma once

#include "platform/linux/session/power_grantor.h"

namespace korvel::platform {

/// The services of a desktop's session that keep the display awake: org.gnome.SessionManager
/// ("idle" alone), org.freedesktop.ScreenSaver, org.freedesktop.PowerManagement. None is started
/// for it. The first and the last are asked afterwards whether they do.
PowerGrantorList sessionPowerGrantors();

/// The desktop portal, which is started where the bus knows how. It is the last to be asked: it
/// grants what is then asked of one of the others, and says nothing of how that went.
std::unique_ptr<PowerGrantor> portalPowerGrantor();

} // namespace korvel::platform
