#include "core/snapshot.h"

#include <algorithm>
#include <utility>

#include "platform/processes.h"

namespace korvel {

ScoreFactor::ScoreFactor(std::string factorName, double factorWeight, double factorHealth,
                         std::string factorDetail)
    : id(Uuid::random()), name(std::move(factorName)), weight(factorWeight), health(factorHealth),
      detail(std::move(factorDetail)) {}

double ScoreFactor::lost() const {
    return (100 - health) * weight;
}

std::optional<MemPressure> memPressure(std::int64_t rawValue) {
    switch (rawValue) {
    case 1:
        return MemPressure::normal;
    case 2:
        return MemPressure::warning;
    case 4:
        return MemPressure::critical;
    default:
        return std::nullopt;
    }
}

std::string label(MemPressure pressure) {
    switch (pressure) {
    case MemPressure::normal:
        return "macOS is comfortable";
    case MemPressure::warning:
        return "macOS is under pressure";
    case MemPressure::critical:
        return "macOS is out of room";
    }
    return {};
}

bool ProcInfo::isSelf(platform::Processes& processes) const {
    return id == processes.currentProcessIdentifier();
}

std::optional<ScoreFactor> Snapshot::worstFactor() const {
    // max_element keeps the first of equals, and a NaN never replaces a candidate.
    const auto worst =
        std::max_element(factors.begin(), factors.end(),
                         [](const auto& a, const auto& b) { return a.lost() < b.lost(); });
    if (worst == factors.end()) {
        return std::nullopt;
    }
    return *worst;
}

std::vector<ScoreFactor> Snapshot::factorsBySeverity() const {
    std::vector<ScoreFactor> sorted = factors;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.lost() > b.lost(); });
    return sorted;
}

std::string Snapshot::thermalLabel() const {
    switch (thermal) {
    case ThermalState::nominal:
        return "normal";
    case ThermalState::fair:
        return "warm";
    case ThermalState::serious:
        return "hot, throttling";
    case ThermalState::critical:
        return "very hot, heavily throttled";
    }
    return "unknown";
}

} // namespace korvel
