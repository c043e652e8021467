#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvel::platform {

/// /proc/pressure/memory: the share of the last ten seconds, in percent, in which tasks waited for
/// memory: some of them, or all that had work.
struct MemoryStall {
    double some = 0;
    double full = 0;
};

/// nullopt unless both lines are there, each with an avg10 from 0 to 100. Other fields are passed
/// over; of a line or a field that stands twice the first counts.
std::optional<MemoryStall> parseMemoryStall(std::string_view text);

/// What the rule looks at, sizes in bytes.
struct PressureFigures {
    std::optional<MemoryStall> stall; ///< none where the kernel does not tell
    std::uint64_t memTotal = 0;       ///< less what is set aside as huge pages
    std::uint64_t memAvailable = 0;
    std::uint64_t swapTotal = 0;
    std::uint64_t swapFree = 0; ///< what swap could still take off memory: see `SwapRoom`
};

/// Turns memory figures into the level 1 (normal), 2 (warning) or 4 (critical): the worse of the
/// level by stalls, which say that memory is short, and the level by availability, which says that
/// it will be. docs/pressure.md tells how the thresholds were found. A level is entered at its
/// threshold and left only when the figure is well back, so that it does not flap; of the two
/// levels neither holds the other.
class PressureRule {
  public:
    std::int32_t level(const PressureFigures& figures);

    /// Whether so little is available that the level can depend on swap: where not, `swapTotal` and
    /// `swapFree` need not be known.
    static bool looksAtSwap(const PressureFigures& figures);

  private:
    std::int32_t byStall(const PressureFigures& figures) const;
    std::int32_t byAvailability(const PressureFigures& figures) const;

    std::int32_t stallLevel_ = 1;
    std::int32_t availabilityLevel_ = 1;
};

} // namespace korvel::platform
