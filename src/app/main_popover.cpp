#include "app/main_popover.h"

#include <utility>

#include "platform/linux/own_memory.h"
#include "platform/qt/window_effects.h"
#include "ui/content/linux_words.h"
#include "ui/quick/popover_window.h"

namespace korvel {

std::unique_ptr<platform::Popover> makeLinuxPopover(ContentView& root) {
    PopoverDesktop desktop{linuxWords, platform::giveMemoryBack, platform::desktopBlendsWindows,
                           nullptr};
    if (platform::desktopKnowsShadows()) {
        desktop.declareShadow = platform::declareShadow;
    }
    return std::make_unique<PopoverWindow>(root, std::move(desktop));
}

} // namespace korvel
