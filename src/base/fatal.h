#pragma once

#include <cstdint>

namespace korvel {

/// Ends the process at once and prints nothing. For the few states in which it must not go on: a
/// kernel counter that ran backwards, a number with no integer, a malformed history row.
[[noreturn]] void fatal();

/// `value` truncated toward zero. Fatal when it is not finite or does not fit.
std::int64_t checkedInt(double value);

/// `a - b`. Fatal when it does not fit.
std::int64_t checkedSubtract(std::int64_t a, std::int64_t b);

/// `a - b`. Fatal when `b` is larger.
std::uint32_t checkedSubtract(std::uint32_t a, std::uint32_t b);

} // namespace korvel
