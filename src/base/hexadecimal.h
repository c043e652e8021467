#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace korvel {

/// The bytes as two lower-case hexadecimal digits each.
std::string hexadecimal(std::span<const std::uint8_t> bytes);

} // namespace korvel
