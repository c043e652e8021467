#include "base/fatal.h"

#include <cstdlib>

namespace korvel {

void fatal() {
    std::abort();
}

std::int64_t checkedInt(double value) {
    // Both bounds are powers of two and so exact; written so that NaN fails the test.
    if (!(value >= -0x1p63 && value < 0x1p63)) {
        fatal();
    }
    return static_cast<std::int64_t>(value);
}

std::int64_t checkedSubtract(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) {
        fatal();
    }
    return difference;
}

std::uint32_t checkedSubtract(std::uint32_t a, std::uint32_t b) {
    if (b > a) {
        fatal();
    }
    return a - b;
}

} // namespace korvel
