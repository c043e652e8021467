#include "platform/linux/session/desktop_appearance.h"

#include <algorithm>
#include <utility>

#include "platform/linux/session/x11_places.h"

namespace korvel::platform {

DesktopAppearance::DesktopAppearance() : portal_(x11TextScale), x11_([this] { judge(); }) {
    judge();
}

double DesktopAppearance::textScale() const {
    return std::max(portal_.textScale(), onX11_.fontScale);
}

bool DesktopAppearance::prefersContrast() const {
    return portal_.prefersContrast() || onX11_.contrast;
}

bool DesktopAppearance::reducesMotion() const {
    return portal_.reducesMotion() || onX11_.reducedMotion;
}

void DesktopAppearance::follow(std::function<void()> changed) {
    changed_ = std::move(changed);
    portal_.follow(changed_);
}

void DesktopAppearance::judge() {
    const AppearanceSettings settings = x11AppearanceSettings(x11_.values());
    if (std::exchange(onX11_, settings) != settings && changed_) {
        changed_();
    }
}

} // namespace korvel::platform
