#include "app/main_popover_linux.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "platform/linux/kernel/own_memory.h"
#include "platform/linux/kernel/spare_threads.h"
#include "platform/linux/session/desktop_appearance.h"
#include "platform/linux/session/layer_surface.h"
#include "platform/linux/session/replaced_toolkit.h"
#include "platform/linux/session/startup_notification.h"
#include "platform/linux/session/window_effects.h"
#include "platform/linux/session/x11_click_watch.h"
#include "platform/linux/session/x11_places.h"
#include "ui/content/linux_words.h"
#include "ui/quick/accessible_when_read.h"
#include "ui/quick/register_views.h"
#include "ui/quick/window_popover.h"

namespace korvel {

namespace {

PopoverStand makeStand() {
    const std::shared_ptr<platform::LayerSurface> surface = platform::makeLayerSurface();
    return {
        .adopt = [surface](QWindow& window) { surface->adopt(window); },
        .open =
            [surface](std::optional<platform::Point> place, std::function<void()> clickedOutside) {
                return surface->open(place, std::move(clickedOutside));
            },
        .fit = [surface](QWindow& window, const QMargins& shadow) { surface->fit(window, shadow); },
        .closed = [surface] { surface->closed(); }};
}

PopoverPlacing x11Placing() {
    const auto clicks = std::make_shared<platform::X11ClickWatch>();
    return {
        .whereAsked = platform::x11WhereAsked,
        .panelAt = platform::x11PanelAt,
        .aboutToShow =
            [](QWindow& window, const platform::ActivationRequest& request) {
                platform::keepOutOfTaskBars(window);
                platform::beginStartupWith(window, request.token);
            },
        .shown =
            [clicks](QWindow& window, std::function<QMargins()> shadow,
                     std::function<void()> pressedOutside) {
                clicks->start(window, std::move(shadow), std::move(pressedOutside));
            },
        .answered =
            [](const platform::ActivationRequest& request) {
                platform::completeStartup(request.token);
            },
        .closed = [clicks] { clicks->stop(); },
        .awaitPress =
            [clicks](std::chrono::milliseconds patience) { return clicks->awaitPress(patience); },
        .wasPressed = [clicks] { return clicks->wasPressed(); }};
}

} // namespace

std::unique_ptr<platform::Popover> makeLinuxPopover(ContentView& root, Words words,
                                                    platform::DisplayChoice display,
                                                    std::function<void()> startAnew) {
    PopoverDesktop desktop{
        .words = std::move(words),
        .awakeWords = linuxAwakeWords,
        .appearance = std::make_unique<platform::DesktopAppearance>(),
        .released =
            [silence = std::make_shared<AccessibleWhenRead>()] {
                forgetViews();
                platform::giveMemoryBack();
            },
        .blendsWindows = platform::desktopBlendsWindows,
        .declareShadow = nullptr,
        .threadsAreToBeHad = [] { return platform::threadsAreToBeHad(PopoverViews::kThreads); }};
    if (startAnew) {
        desktop.startsAnew = [startAnew = std::move(startAnew)] {
            const bool replaced = platform::toolkitWasReplaced();
            if (replaced) {
                startAnew();
            }
            return replaced;
        };
    }
    if (platform::desktopKnowsShadows()) {
        desktop.declareShadow = platform::declareShadow;
        desktop.placing = x11Placing();
        desktop.isX11 = true;
    } else {
        desktop.makeKey = platform::activateByToken;
        if (display == platform::DisplayChoice::layer) {
            desktop.stand = makeStand();
        } else {
            desktop.sizeIsFixed = true;
        }
    }
    return std::make_unique<WindowPopover>(root, std::move(desktop));
}

} // namespace korvel
