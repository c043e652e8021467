#include "core/decimal.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <string>

namespace korvel {

std::optional<double> parseDecimal(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto digits = std::count_if(text.begin(), text.end(), isDigit);
    const auto dots = std::count(text.begin(), text.end(), '.');
    if (digits == 0 || dots > 1 || digits + dots != static_cast<std::ptrdiff_t>(text.size())) {
        return std::nullopt;
    }
    // The one way of the standard library that every system we build on has and no locale bends:
    // from_chars reads no doubles on macOS 13.
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0;
    if (!(stream >> value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace korvel
