#pragma once

#include <functional>
#include <memory>

#include "platform/linux/session/display_choice.h"
#include "platform/status_bar.h"
#include "ui/content/words.h"

namespace korvel {

class ContentView;

/// The popover as it opens on a Linux desktop that is shown this way, which says its texts in
/// `words`. `root` outlives it. Where Qt has been replaced since the program started, `startAnew`
/// is called instead of opening it; empty: it is opened nevertheless.
std::unique_ptr<platform::Popover>
makeLinuxPopover(ContentView& root, Words words,
                 platform::DisplayChoice display = platform::DisplayChoice::byQt,
                 std::function<void()> startAnew = {});

} // namespace korvel
