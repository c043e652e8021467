#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/kernel/zram_reader.h"

namespace korvel::platform {

/// What decides how much swap could still take off memory. Bytes.
struct SwapRoom {
    std::uint64_t free = 0;                 ///< of all swap
    std::uint64_t freeOnZram = 0;           ///< that part of it which lies in memory itself
    ZramUse zram;                           ///< of all compressed devices so far
    std::optional<std::uint64_t> swappable; ///< anonymous and shared memory; none: not known

    /// The bytes of memory that can still become free by swapping: all that goes to a disk, and of
    /// what is compressed in memory only what compression gains, by its gain so far (a half where
    /// there is little so far, as the kernel's documentation of zram expects 2:1). No more than
    /// there is to swap: what is locked, or the kernel's own, stays.
    std::uint64_t bytes() const;
};

} // namespace korvel::platform
