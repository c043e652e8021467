#pragma once

#include <optional>

namespace korvel {

/// The tallest that the popover grows before it scrolls: the screen's visible height less a margin,
/// never under a usable least; a fixed height where there is no screen.
inline double popoverMaximumHeight(std::optional<double> visibleHeight) {
    constexpr double kMargin = 60;
    constexpr double kLeast = 420;
    constexpr double kWithoutScreen = 740;
    if (!visibleHeight) {
        return kWithoutScreen;
    }
    const double height = *visibleHeight - kMargin;
    return height > kLeast ? height : kLeast;
}

} // namespace korvel
