#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// What a machine can say of the things that a person looks at when the program runs on a Mac for
/// the first time. Nothing of it is used by the program itself.
namespace korvel::platform {

struct DesktopFacts {
    std::size_t screens = 0;
    bool menuBarOnEach = false;   ///< with several screens: each has one, and so the item
    std::string frontApplication; ///< its identifier; "" when there is none, or it has none
};

DesktopFacts desktopFacts();

/// Whether a program's settings, which this one need not be, say to keep the machine awake; nullopt
/// when they do not say.
std::optional<bool> keepsAwakeBySettings(const std::string& identifier);

} // namespace korvel::platform
