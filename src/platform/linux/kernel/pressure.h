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
    std::uint64_t memTotal = 0;
    std::uint64_t memAvailable = 0;
    std::uint64_t swapTotal = 0;
    std::uint64_t swapFree = 0;
};

/// Turns memory figures into the level 1 (normal), 2 (warning) or 4 (critical); docs/pressure.md
/// tells how the thresholds were found. A level is entered at its threshold and left only when the
/// figure is well back, so that it does not flap.
class PressureRule {
  public:
    std::int32_t level(const PressureFigures& figures);

  private:
    std::int32_t byStall(const MemoryStall& stall) const;
    std::int32_t byAvailability(const PressureFigures& figures) const;

    std::int32_t level_ = 1;
};

} // namespace korvel::platform
