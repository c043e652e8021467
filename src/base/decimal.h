#pragma once

#include <optional>
#include <string_view>

// Reading numbers from text, whatever the locale. What a double cannot hold, or would hold as 0
// though it is not, differs between the two: see each.
namespace korvel {

/// The value of a decimal number: digits with at most one dot among, before or after them ("5.",
/// ".5"), nothing else. None for anything else, "" and "." included, and for a number that is too
/// large or too small for a double.
std::optional<double> parseDecimal(std::string_view text);

/// Whether `text` is a number as JSON writes it, nothing before or after it.
bool isJsonNumber(std::string_view text);

/// The value of a number as JSON writes it, nothing before or after it, with any number of digits.
/// None for anything else and for a number that is too large; one that is too small is 0, with its
/// sign.
std::optional<double> parseJsonNumber(std::string_view text);

} // namespace korvel
