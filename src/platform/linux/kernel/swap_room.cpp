#include "platform/linux/kernel/swap_room.h"

#include <algorithm>
#include <limits>

namespace korvel::platform {

namespace {

/// The share of what is written to compressed devices that memory gets back.
double gainOf(const ZramUse& zram) {
    constexpr std::uint64_t kTelling = std::uint64_t{16}
                                       << 20; // allocators need some to begin with
    constexpr double kExpected = 0.5;
    if (zram.stored < kTelling) {
        return kExpected;
    }
    return 1 - static_cast<double>(std::min(zram.memoryUsed, zram.stored)) /
                   static_cast<double>(zram.stored);
}

} // namespace

std::uint64_t SwapRoom::bytes() const {
    const std::uint64_t compressed = std::min(freeOnZram, free);
    const std::uint64_t most = swappable.value_or(std::numeric_limits<std::uint64_t>::max());
    const std::uint64_t toDisk = std::min(free - compressed, most);
    const std::uint64_t toZram = std::min(compressed, most - toDisk);
    return toDisk + static_cast<std::uint64_t>(static_cast<double>(toZram) * gainOf(zram));
}

} // namespace korvel::platform
