#pragma once

#include <memory>

#include "platform/linux/session/display_choice.h"
#include "platform/status_bar.h"
#include "ui/content/words.h"

namespace korvel {

class ContentView;

/// The popover as it opens on a Linux desktop that is shown this way, which says its texts in
/// `words`. `root` outlives it.
std::unique_ptr<platform::Popover>
makeLinuxPopover(ContentView& root, Words words,
                 platform::DisplayChoice display = platform::DisplayChoice::byQt);

} // namespace korvel
