#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/lines.h"
#include "base/whole_number.h"

// The words of the kernel's text files.
namespace korvel::platform {

/// Takes the next word off `line`, past any blanks before it; empty at the end.
inline std::string_view takeWord(std::string_view& line) {
    // A loop of its own: find_first_of calls the C library for each character.
    const auto isBlank = [](char character) { return character == ' ' || character == '\t'; };
    const auto start = std::find_if_not(line.begin(), line.end(), isBlank);
    const auto end = std::find_if(start, line.end(), isBlank);
    const std::string_view word(start, end);
    line = std::string_view(end, line.end());
    return word;
}

/// The number that is the word at `place`, from 1, of the first line.
inline std::optional<std::uint64_t> numberAt(std::string_view text, int place) {
    std::optional<std::string_view> line = takeLine(text);
    std::string_view word;
    for (int i = 0; line && i < place; ++i) {
        word = takeWord(*line);
    }
    return wholeNumber<std::uint64_t>(word);
}

/// Whether `name` is `prefix` and then digits only, one or more.
inline bool isNumbered(std::string_view name, std::string_view prefix) {
    return name.size() > prefix.size() && name.substr(0, prefix.size()) == prefix &&
           name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

/// A whole word as a finite number of 0 or more.
inline std::optional<double> wholeDecimal(std::string_view word) {
    double number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    const bool isNumber = error == std::errc() && stop == end;
    return isNumber && std::isfinite(number) && !std::signbit(number) ? std::optional(number)
                                                                      : std::nullopt;
}

} // namespace korvel::platform
