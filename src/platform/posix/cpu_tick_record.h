#pragma once

#include <array>
#include <cstdint>

#include "platform/machine.h"

namespace korvel::platform {

/// Adds up ticks into the record that the sampler is handed, whose counters have 32 bits and must
/// never fall or wrap for as long as the program runs.
///
/// The record starts at 0, not at the ticks since boot. While its fullest counter is less than a
/// quarter full each tick is counted, unless it was made to count the mean of the processors from
/// the start; then that mean is counted, and from half full an eighth of it. What a division leaves
/// over is carried to the next one, so that no tick is lost. With ten processors at 100 ticks a
/// second every tick is counted for twelve days, the mean for four months, and an eighth of it for
/// another five years; then all four stand still.
class CpuTickRecord {
  public:
    enum class Start { everyTick, meanOfProcessors };

    /// user, system, idle, nice
    using Sums = std::array<std::uint64_t, 4>;

    explicit CpuTickRecord(Start start) : start_(start) {}

    /// Takes what all of the `processors` (1 or more) ticked since the call before, and gives the
    /// record.
    CpuTicks add(const Sums& added, std::uint64_t processors);

  private:
    Start start_;
    Sums counted_{};
    Sums remainders_{}; ///< ticks that are not counted yet
};

} // namespace korvel::platform
