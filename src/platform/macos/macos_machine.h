#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/machine.h"
#include "platform/posix/cpu_tick_record.h"

namespace korvel::platform {

/// Follows the kernel's sums of ticks over all processors. They have 32 bits and wrap: ten
/// processors fill them in seven weeks. They may also step back a little, because the kernel sums
/// up idle time while it still grows. So a difference of less than half of the 32-bit range,
/// counted forward, is what a counter advanced; any other is a step back, at which the counter is
/// held at its highest value.
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

/// The machine as Mach and BSD tell it: each function of a reading makes its calls when it is
/// asked. Physical memory is what is built in, and processors are those of the machine, busy or
/// not; ticks are those since the first reading that asked for them, see `WrappingTicks` and
/// `CpuTickRecord`.
class MacosMachine final : public Machine {
  public:
    /// `thermalState` gives the state, which only the system's Objective-C classes know.
    explicit MacosMachine(std::function<int()> thermalState);

    std::unique_ptr<MachineReading> read() override;

  private:
    class Reading;

    const std::function<int()> thermalState_;

    std::mutex mutex_; ///< guards what follows
    WrappingTicks kernelTicks_;
    CpuTickRecord ticks_{CpuTickRecord::Start::everyTick};
};

} // namespace korvel::platform
