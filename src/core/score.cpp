#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "base/fatal.h"
#include "core/metrics.h"

namespace korvel {

namespace {

double memoryHealth(const Snapshot& s) {
    switch (s.memPressure) {
    case MemPressure::warning:
        return 45;
    case MemPressure::critical:
        return 10;
    case MemPressure::normal:
        break;
    }
    if (!(s.memTotalGB > 0)) {
        return 85;
    }
    // Full health from one fifth available upward. Written so that NaN gives 100.
    const double health = 85 + 75 * s.memAvailableGB / s.memTotalGB;
    return health < 100 ? health : 100;
}

double diskHealth(const Snapshot& s) {
    constexpr double kRoomy = 75;
    constexpr double kFloor = 15;
    const double freeGB = s.diskFreeGB;
    if (s.unreported.dataVolume) {
        return 100; // what is not known costs no points
    }
    if (freeGB >= kRoomy) {
        return 100;
    }
    if (freeGB <= Metrics::diskCritGB) {
        return kFloor;
    }
    return kFloor + 85 * (freeGB - Metrics::diskCritGB) / (kRoomy - Metrics::diskCritGB);
}

double loadHealth(const Snapshot& s) {
    const double used = s.load1 / static_cast<double>(s.cores) * 100;
    return 100 - (used < 100 ? used : 100);
}

double thermalHealth(ThermalState thermal) {
    switch (thermal) {
    case ThermalState::nominal:
        return 100;
    case ThermalState::fair:
        return 75;
    case ThermalState::serious:
        return 35;
    case ThermalState::critical:
        return 0;
    }
    return 100; // a state whose meaning is not known costs no points
}

std::vector<ScoreFactor> makeFactors(const Snapshot& s) {
    std::vector<ScoreFactor> factors;
    factors.reserve(6);
    factors.emplace_back(
        "Memory", 0.26, memoryHealth(s),
        fmt::format("{:.1f} GB free to use · {}", s.memAvailableGB, label(s.memPressure)));
    factors.emplace_back("Disk", 0.24, diskHealth(s),
                         s.unreported.dataVolume
                             ? kNotReported
                             : fmt::format("{} GB free", checkedInt(s.diskFreeGB)));
    factors.emplace_back("CPU", 0.16, 100 - s.cpuPct, fmt::format("{:.0f}% busy", s.cpuPct));
    factors.emplace_back("Load", 0.14, loadHealth(s),
                         fmt::format("{:.2f} across {} cores", s.load1, s.cores));
    factors.emplace_back("Swap", 0.12, s.swappingNow ? 25 : 100,
                         s.swappingNow ? "actively paging" : "not paging");
    factors.emplace_back("Thermal", 0.08, thermalHealth(s.thermal), s.thermalLabel());
    return factors;
}

std::string verdictOf(std::int64_t score) {
    if (score >= 88) {
        return "Excellent";
    }
    if (score >= 72) {
        return "Healthy";
    }
    if (score >= 55) {
        return "Fair";
    }
    if (score >= 35) {
        return "Strained";
    }
    return "Critical";
}

std::optional<std::string> diskAlert(const Snapshot& s) {
    if (s.unreported.dataVolume || !(s.diskFreeGB < Metrics::diskWarnGB)) {
        return std::nullopt;
    }
    return s.diskFreeGB < Metrics::diskCritGB
               ? fmt::format("Disk critical: only {}GB left", checkedInt(s.diskFreeGB))
               : fmt::format("Disk getting tight: {}GB free", checkedInt(s.diskFreeGB));
}

std::vector<std::string> makeAlerts(const Snapshot& s) {
    std::vector<std::string> alerts;
    if (s.runaway) {
        alerts.push_back(s.runaway->name + fmt::format(" is holding {:.1f}GB", s.runaway->gb));
    }
    if (std::optional<std::string> disk = diskAlert(s)) {
        alerts.push_back(std::move(*disk));
    }
    if (s.memPressure == MemPressure::critical) {
        alerts.emplace_back("Memory is critically low. Quit something large");
    } else if (s.memPressure == MemPressure::warning && s.swappingNow) {
        alerts.emplace_back("Under memory pressure and paging to disk");
    }
    if (s.thermal == ThermalState::serious || s.thermal == ThermalState::critical) {
        alerts.emplace_back("Running hot. macOS is throttling to cool down");
    }
    if (s.swappingNow) {
        alerts.emplace_back("Actively swapping. RAM is oversubscribed");
    }
    return alerts;
}

} // namespace

void Metrics::score(Snapshot& snapshot) {
    /// The highest score while there is a runaway process, which no factor measures.
    constexpr double kRunawayCap = 45;

    snapshot.factors = makeFactors(snapshot);
    // Added before the factors are sorted: in another order the last bits could differ.
    double raw = 0;
    for (const ScoreFactor& factor : snapshot.factors) {
        raw += factor.health * factor.weight;
    }
    snapshot.factors = snapshot.factorsBySeverity();

    snapshot.runaway.reset();
    if (!snapshot.topProcs.empty() && snapshot.topProcs.front().gb >= runawayGB) {
        snapshot.runaway = snapshot.topProcs.front();
        if (raw > kRunawayCap) {
            raw = kRunawayCap;
        }
    }
    // Halves away from zero; written so that NaN gives 100.
    snapshot.score = raw < 100 ? checkedInt(std::round(std::max(raw, 0.0))) : 100;
    snapshot.verdict = verdictOf(snapshot.score);
    snapshot.alerts = makeAlerts(snapshot);
}

} // namespace korvel
