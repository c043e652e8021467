#include "app/main_popover_macos.h"

#include <utility>

#include "platform/macos/macos_application.h"
#include "platform/macos/macos_popover.h"
#include "ui/quick/hosted_popover.h"

namespace korvel {

namespace {

PopoverHost makeHost(std::function<void()> closed) {
    auto popover = std::make_unique<platform::MacosPopover>(std::move(closed));
    platform::MacosPopover& host = *popover; // outlives the functions, which it stands beside
    return {std::move(popover), [&host](void* view) { host.setContent(view); },
            [&host](double width, double height) { host.setPreferredContentSize(width, height); },
            platform::visibleScreenHeight};
}

/// The texts are written for this desktop.
std::string unchanged(std::string text) {
    return text;
}

} // namespace

std::unique_ptr<platform::Popover> makeMacosPopover(ContentView& root) {
    return std::make_unique<HostedPopover>(root, unchanged, makeHost);
}

} // namespace korvel
