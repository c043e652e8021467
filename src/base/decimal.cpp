#include "base/decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#if !defined(__cpp_lib_to_chars)
#include <locale>
#include <sstream>
#include <string>
#endif

namespace korvel {

namespace {

constexpr std::string_view kDigits = "0123456789";

#if defined(__cpp_lib_to_chars)
/// What a number becomes that no double holds: infinite, or 0 when it is too small.
double outOfRange(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mark);
    std::string_view power = number.substr(std::min(mark + 1, number.size()));
    const bool isNegativePower = !power.empty() && power.front() == '-';
    power.remove_prefix(std::min(power.find_first_of(kDigits), power.size()));
    // Where the first digit that counts stands before the dot, moved by the exponent.
    std::int64_t exponent = 0;
    const auto result = std::from_chars(power.data(), power.data() + power.size(), exponent);
    // Farther away than the length of any text, and far from the limits of the type.
    constexpr std::int64_t kFar = std::numeric_limits<std::int32_t>::max();
    exponent = result.ec == std::errc::result_out_of_range ? kFar : std::min(exponent, kFar);
    const auto dot = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto first = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
    const bool isLarge = dot - first + (isNegativePower ? -exponent : exponent) > 0;
    return std::copysign(isLarge ? HUGE_VAL : 0, number.front() == '-' ? -1 : 1);
}
#endif

/// The value of a text that is known to be a number; infinite when it is too large for a double, 0
/// when it is too small.
double valueOf(std::string_view text) {
#if defined(__cpp_lib_to_chars)
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc::result_out_of_range ? outOfRange(text) : value;
#else
    // The library of macOS 13 reads no doubles by from_chars.
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0;
    // Some libraries fail for a number that is too small, too.
    return stream >> value || std::abs(value) < 1 ? value : HUGE_VAL;
#endif
}

/// Takes the digits that `text` begins with. False: there are none.
bool takeDigits(std::string_view& text) {
    const std::size_t count = std::min(text.find_first_not_of(kDigits), text.size());
    text.remove_prefix(count);
    return count > 0;
}

bool take(std::string_view& text, std::string_view anyOf) {
    if (text.empty() || anyOf.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

} // namespace

std::optional<double> parseDecimal(std::string_view text) {
    if (text.find_first_not_of("0123456789.") != std::string_view::npos ||
        text.find_first_of(kDigits) == std::string_view::npos ||
        std::count(text.begin(), text.end(), '.') > 1) {
        return std::nullopt;
    }
    const double value = valueOf(text);
    const bool isZero = text.find_first_not_of("0.") == std::string_view::npos;
    if (std::isinf(value) || (value == 0 && !isZero)) {
        return std::nullopt;
    }
    return value;
}

bool isJsonNumber(std::string_view text) {
    take(text, "-");
    if (!take(text, "0") && !takeDigits(text)) {
        return false;
    }
    if (take(text, ".") && !takeDigits(text)) {
        return false;
    }
    if (take(text, "eE")) {
        take(text, "+-");
        if (!takeDigits(text)) {
            return false;
        }
    }
    return text.empty();
}

std::optional<double> parseJsonNumber(std::string_view text) {
    if (!isJsonNumber(text)) {
        return std::nullopt;
    }
    const double value = valueOf(text);
    if (std::isinf(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace korvel
