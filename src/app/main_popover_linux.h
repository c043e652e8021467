#pragma once

#include <memory>

#include "platform/status_bar.h"

namespace korvel {

class ContentView;

/// The popover as it opens on a Linux desktop. `root` outlives it.
std::unique_ptr<platform::Popover> makeLinuxPopover(ContentView& root);

} // namespace korvel
