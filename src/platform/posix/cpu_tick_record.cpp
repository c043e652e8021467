#include "platform/posix/cpu_tick_record.h"

#include <algorithm>
#include <limits>

namespace korvel::platform {

CpuTicks CpuTickRecord::add(const Sums& added, std::uint64_t processors) {
    constexpr std::uint64_t kQuarterFull = std::uint64_t{1} << 30;
    constexpr std::uint64_t kHalfFull = std::uint64_t{1} << 31;
    constexpr std::uint64_t kSlowdown = 8;
    constexpr std::uint64_t kFull = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t fullest = *std::max_element(counted_.begin(), counted_.end());
    std::uint64_t divisor = 1;
    if (start_ == Start::meanOfProcessors || fullest >= kQuarterFull) {
        divisor = processors * (fullest >= kHalfFull ? kSlowdown : 1);
    }
    Sums next = counted_;
    Sums remainders{};
    for (std::size_t i = 0; i < next.size(); ++i) {
        const std::uint64_t ticks = added[i] + remainders_[i];
        next[i] += ticks / divisor;
        remainders[i] = ticks % divisor;
    }
    // All or none: were only the full one held, the shares would be wrong.
    if (*std::max_element(next.begin(), next.end()) <= kFull) {
        counted_ = next;
        remainders_ = remainders;
    }
    CpuTicks ticks;
    ticks.user = static_cast<std::uint32_t>(counted_[0]);
    ticks.system = static_cast<std::uint32_t>(counted_[1]);
    ticks.idle = static_cast<std::uint32_t>(counted_[2]);
    ticks.nice = static_cast<std::uint32_t>(counted_[3]);
    return ticks;
}

} // namespace korvel::platform
