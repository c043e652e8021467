#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>

namespace korvel {

/// The number that `text` is, written in that base, 2 to 36: digits (letters of either case),
/// before them at most a minus sign where the type has one, and nothing else. nullopt for anything
/// else, "" and a plus sign included, and for a number that the type does not hold.
template <std::integral Number>
std::optional<Number> wholeNumber(std::string_view text, int base = 10) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

} // namespace korvel
