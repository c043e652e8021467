#pragma once

#include <optional>
#include <string_view>

namespace korvel {

/// The value of a decimal number: digits with at most one dot among, before or after them ("5.",
/// ".5"), nothing else, whatever the locale. None for anything else, "" and "." included, and for a
/// number that a double cannot hold or would hold as 0 though it is not.
std::optional<double> parseDecimal(std::string_view text);

} // namespace korvel
