#pragma once

#include <string_view>

namespace korvel::platform {

/// What a thermal zone measures, by its type.
enum class ZoneKind {
    processor, ///< the processor or the package it is in
    firmware,  ///< what ACPI calls a zone, or a name that says nothing: anywhere on the board
    foreign,   ///< something else: a radio, a battery, a drive
};

/// By the content of a zone's type file, whichever the case of its letters.
ZoneKind zoneKind(std::string_view type);

} // namespace korvel::platform
