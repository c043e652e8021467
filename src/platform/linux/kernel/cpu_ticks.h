#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/machine.h"
#include "platform/posix/cpu_tick_record.h"

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
/// at its highest value so far, and what is added to it since the previous reading is what counts.
/// A processor that comes back after it was offline starts from the value that it comes back with;
/// so does one whose counters fell by more than a minute. Up to Linux 6.7, idle time starts from 0
/// when a processor comes online, as all but one do on waking from sleep: held at its highest it
/// would stand still for as long as the machine had been idle before, and the processor look busy.
/// The record is the mean of the processors from the start: summed up, the ticks of 128 of them
/// would fill 32 bits in four days.
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

    /// What is added to all processors by this reading.
    CpuTickRecord::Sums advance(const std::vector<ProcessorTicks>& processors);

    std::vector<Processor> processors_; ///< by number
    CpuTickRecord record_{CpuTickRecord::Start::meanOfProcessors};
};

} // namespace korvel::platform
