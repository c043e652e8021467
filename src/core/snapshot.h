#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/uuid.h"
#include "platform/machine.h"

namespace korvel::platform {
class Processes;
}

/// The records that carry one reading of the machine. All are plain values: built once by the
/// sampler, then read and copied, from any thread. Sizes (`...GB`) are bytes times 2^-30, shares
/// (`...Pct`) run from 0 to 100.
namespace korvel {

/// One weighted contributor to the score.
struct ScoreFactor {
    Uuid id; ///< fresh for every factor made; its identity in lists
    std::string name;
    double weight = 0; ///< share of the score; the six weights sum to 1.00
    double health = 0; ///< points, 0 worst to 100 perfect
    std::string detail;

    ScoreFactor(std::string factorName, double factorWeight, double factorHealth,
                std::string factorDetail);

    /// The score points that this factor costs.
    double lost() const;
};

/// The kernel's memory-pressure level, by its own numbers.
enum class MemPressure : int { normal = 1, warning = 2, critical = 4 };

/// The level of that number; none for a number that is no level.
std::optional<MemPressure> memPressure(std::int64_t rawValue);
std::string label(MemPressure pressure);

/// The system's thermal state, by its own numbers. It may hold any other number too, which counts
/// as unknown.
enum class ThermalState : int { nominal = 0, fair = 1, serious = 2, critical = 3 };

/// Stands in place of a figure that the machine does not report.
inline constexpr const char* kNotReported = "not reported here";

/// One process and its memory footprint.
struct ProcInfo {
    std::int32_t id = 0; ///< pid; the identity in lists
    std::string name;
    double gb = 0;
    /// `Processes::startTime` when it was listed. Not shown, written or traced.
    std::optional<std::uint64_t> startTime = std::nullopt;

    /// Whether this is the running program itself, asked anew on each call.
    bool isSelf(platform::Processes& processes) const;

    bool operator==(const ProcInfo&) const = default;
};

/// One whole scored reading. `Snapshot()` is the empty reading that stands before the first sample.
struct Snapshot {
    std::vector<ScoreFactor> factors; ///< by points lost, most first
    double cpuPct = 0;
    double memUsedGB = 0;
    double memTotalGB = 0;
    double memPct = 0; ///< at most 100
    double compressedGB = 0;
    double memAvailableGB = 0; ///< could be handed out without paging
    MemPressure memPressure = MemPressure::normal;
    double swapUsedGB = 0;
    double swapTotalGB = 0;
    double swapPct = 0;       ///< not clamped
    bool swappingNow = false; ///< pages are being swapped out at a high rate right now
    double diskFreeGB = 0;    ///< available to the user on the data volume
    double diskPct = 0;
    double load1 = 0; ///< load average over one minute
    std::int64_t cores = 1;
    std::string uptime;             ///< since boot, in the short form "3d 4h"
    std::vector<ProcInfo> topProcs; ///< heaviest first
    bool wardenOn = false;          ///< the watchdog agent is loaded
    ThermalState thermal = ThermalState::nominal;
    std::int64_t score = 0; ///< 0 to 100
    std::string verdict;
    std::vector<std::string> alerts;
    std::optional<ProcInfo> runaway; ///< the heaviest process when it holds `Metrics::runawayGB`
    /// What the machine has no figure for: the values above are then defaults that say nothing.
    platform::Unreported unreported = {};

    /// The factor that costs most, the earliest of equals, even when it costs nothing; none without
    /// factors.
    std::optional<ScoreFactor> worstFactor() const;

    /// A copy of `factors`, most points lost first; equals keep their order.
    std::vector<ScoreFactor> factorsBySeverity() const;

    std::string thermalLabel() const;
};

} // namespace korvel
