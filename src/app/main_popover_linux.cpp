#include "app/main_popover_linux.h"

#include <utility>

#include "platform/linux/kernel/own_memory.h"
#include "platform/linux/session/portal_appearance.h"
#include "platform/linux/session/window_effects.h"
#include "ui/content/linux_words.h"
#include "ui/quick/window_popover.h"

namespace korvel {

std::unique_ptr<platform::Popover> makeLinuxPopover(ContentView& root) {
    PopoverDesktop desktop{.words = linuxWords,
                           .appearance = std::make_unique<platform::PortalAppearance>(),
                           .released = platform::giveMemoryBack,
                           .blendsWindows = platform::desktopBlendsWindows,
                           .declareShadow = nullptr};
    if (platform::desktopKnowsShadows()) {
        desktop.declareShadow = platform::declareShadow;
    } else {
        desktop.sizeIsFixed = true;
    }
    return std::make_unique<WindowPopover>(root, std::move(desktop));
}

} // namespace korvel
