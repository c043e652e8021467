#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

// Taking a text line by line. A line ends with a newline, which is not part of it; a carriage
// return is an ordinary character.
namespace korvel {

/// Takes the next line off `text`; nullopt when none is left that ends. For texts of which the end
/// may be missing: what is cut short is not a line, however much it looks like one.
inline std::optional<std::string_view> takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

/// The same, but what stands behind the last newline is a line too, unless it is empty. nullopt
/// when `text` is empty.
inline std::optional<std::string_view> takeLineOrRest(std::string_view& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

} // namespace korvel
