#include "core/decimal.h"

#include <algorithm>
#include <charconv>
#if !defined(__cpp_lib_to_chars)
#include <cmath>
#include <cstdlib>
#include <string>
#include <xlocale.h>
#endif

namespace korvel {

std::optional<double> parseDecimal(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto digits = std::count_if(text.begin(), text.end(), isDigit);
    const auto dots = std::count(text.begin(), text.end(), '.');
    if (digits == 0 || dots > 1 || digits + dots != static_cast<std::ptrdiff_t>(text.size())) {
        return std::nullopt;
    }
#if defined(__cpp_lib_to_chars)
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return std::nullopt;
    }
    return value;
#else
    // The library of macOS 13 reads no doubles by from_chars. A null locale is the C locale there.
    const double value = strtod_l(std::string(text).c_str(), nullptr, nullptr);
    const bool isZero = text.find_first_not_of("0.") == std::string_view::npos;
    if (std::isinf(value) || (value == 0 && !isZero)) {
        return std::nullopt;
    }
    return value;
#endif
}

} // namespace korvel
