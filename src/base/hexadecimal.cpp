#include "base/hexadecimal.h"

#include <iterator>

#include <fmt/format.h>

namespace korvel {

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
    std::string digits;
    digits.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        fmt::format_to(std::back_inserter(digits), "{:02x}", byte);
    }
    return digits;
}

} // namespace korvel
