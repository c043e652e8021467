#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/machine.h"

namespace korvel::platform {

/// The counters of one processor's line of /proc/stat, in ticks since boot, in the kernel's order.
struct ProcessorTicks {
    enum Counter : std::size_t { user, nice, system, idle, iowait, irq, softirq, steal, kCounters };

    std::uint32_t number = 0; ///< of the processor
    std::array<std::uint64_t, kCounters> ticks{};
};

/// What is used of /proc/stat.
struct KernelStat {
    std::vector<ProcessorTicks> processors; ///< those online, in the file's order
    std::optional<std::int64_t> btime;      ///< boot time, whole seconds since 1970
};

/// A processor's line counts when its user, nice, system and idle counters can be read; what an old
/// kernel does not have is 0. Of a processor or a boot time that stands twice the first counts.
KernelStat parseKernelStat(std::string_view text);

/// Turns the kernel's counters into ones that never fall and never wrap.
///
/// The kernel counts since boot, in 64 bits, and some of its counters may step back; the sampler's
/// record has 32 bits and no counter of it may ever fall. So each counter of each processor is held
/// at its highest value so far, what is added to it since the previous reading is what counts, and
/// the sum is divided by the number of processors: summed up, those of 128 processors would fill 32
/// bits in four days. A processor that comes back after it was offline starts from the value that
/// it comes back with. At 100 ticks a second a counter is half full after 248 days; from then on an
/// eighth of the ticks is counted, which lasts for another five years; then all four stand still.
class CpuTickAccumulator {
  public:
    /// Takes one reading and hands out the ticks since the first one; nullopt (and nothing is
    /// remembered) for a reading without processors.
    std::optional<CpuTicks> add(const std::vector<ProcessorTicks>& processors);

  private:
    struct Processor {
        bool online = false; ///< in the latest reading
        std::array<std::uint64_t, ProcessorTicks::kCounters> highest{};
    };

    /// user, system, idle, nice
    using Sums = std::array<std::uint64_t, 4>;

    Sums advance(const std::vector<ProcessorTicks>& processors);

    std::vector<Processor> processors_; ///< by number
    Sums counted_{};                    ///< mean ticks of a processor since the first reading
    Sums remainders_{};                 ///< ticks not yet handed out by the division
};

} // namespace korvel::platform
