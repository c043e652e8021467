#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace korvel::platform {

// Reading the kernel's text files. A line counts only with its newline: a file that was cut short
// could otherwise end in the first half of a number.

/// Takes the next complete line off `text`, without its newline; nullopt at the end.
inline std::optional<std::string_view> takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

/// Takes the next word off `line`, past any blanks before it; empty at the end.
inline std::string_view takeWord(std::string_view& line) {
    constexpr std::string_view kBlanks = " \t";
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        line = {};
        return {};
    }
    const std::size_t end = line.find_first_of(kBlanks, start);
    const std::string_view word = line.substr(start, end - start);
    line = end == std::string_view::npos ? std::string_view() : line.substr(end);
    return word;
}

/// A whole word as a number, in decimal; nullopt when it is anything else or does not fit.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view word) {
    Number number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

/// A whole word as a finite number of 0 or more.
inline std::optional<double> wholeDecimal(std::string_view word) {
    const std::optional<double> number = wholeNumber<double>(word);
    return number && std::isfinite(*number) && !std::signbit(*number) ? number : std::nullopt;
}

} // namespace korvel::platform
