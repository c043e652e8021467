#pragma once

namespace korvel {

/// Bytes to the GB of every record: 2^30 bytes. A power of two, so no precision is lost.
inline constexpr double gigabytes(double bytes) {
    return bytes * 0x1p-30;
}

} // namespace korvel
