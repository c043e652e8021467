#pragma once

#include <functional>

#include "platform/machine.h"
#include "platform/posix/cpu_tick_record.h"

namespace korvel::platform {

/// Follows the kernel's sums of ticks over all processors. They have 32 bits and wrap (ten
/// processors fill them in seven weeks), and the kernel adds up the parts of the idle one while
/// these run on, so that it may also step back a little. What is nearer by going forward, round the
/// end where need be, is what a counter advanced; one that stepped back is held at its highest.
class WrappingTicks {
  public:
    /// user, system, idle, nice
    using Counters = std::array<std::uint32_t, 4>;

    /// Takes one reading and gives what was added since the one before; zeros for the first.
    CpuTickRecord::Sums advance(const Counters& counters);

  private:
    bool started_ = false;
    Counters highest_{};
};

/// The machine as Mach and BSD tell it. Callable from any thread, but `cpuTicks` from one at a
/// time.
class MacosMachine final : public Machine {
  public:
    /// `thermalState` is asked for the state: it is told by no system call.
    explicit MacosMachine(std::function<int()> thermalState);

    std::uint64_t physicalMemory() override; ///< 0 when it cannot be read
    int processorCount() override;           ///< those of the machine, busy or not
    int thermalState() override;
    std::uint64_t pageSize() override;
    std::optional<VmStatistics> vmStatistics() override;
    /// Ticks since the first call, see `WrappingTicks` and `CpuTickRecord`.
    std::optional<CpuTicks> cpuTicks() override;
    std::optional<std::int32_t> memoryPressureLevel() override;
    std::optional<SwapUsage> swapUsage() override;
    std::optional<VolumeStatistics> dataVolume() override;
    std::array<double, 3> loadAverages() override;
    std::optional<std::int64_t> bootTime() override;

  private:
    std::function<int()> thermalState_;
    WrappingTicks kernelTicks_;
    CpuTickRecord ticks_{CpuTickRecord::Start::everyTick};
};

} // namespace korvel::platform
