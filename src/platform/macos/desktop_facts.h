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

/// What the settings of a program, which need not be this one, hold under a key, as a truth;
/// nullopt when they hold nothing.
std::optional<bool> storedTruth(const std::string& identifier, const std::string& key);

} // namespace korvel::platform
