#pragma once

#include <memory>

#include "platform/linux/session/display_choice.h"
#include "platform/status_bar.h"

namespace korvel {

class ContentView;

/// The popover as it opens on a Linux desktop that is shown this way. `root` outlives it.
std::unique_ptr<platform::Popover>
makeLinuxPopover(ContentView& root,
                 platform::DisplayChoice display = platform::DisplayChoice::byQt);

} // namespace korvel
