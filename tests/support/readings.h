#pragma once

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "core/metrics.h"

namespace korvel::test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The next number below, and the next above.
inline double below(double value) {
    return std::nextafter(value, -kInfinity);
}

inline double above(double value) {
    return std::nextafter(value, kInfinity);
}

/// Readings of a machine that has nothing wrong with it: score 100.
inline Snapshot perfectReadings() {
    Snapshot s;
    s.memTotalGB = 16;
    s.memAvailableGB = 8;
    s.diskFreeGB = 100;
    s.cores = 10;
    return s;
}

inline Snapshot scored(Snapshot s) {
    Metrics::score(s);
    return s;
}

inline const ScoreFactor& factor(const Snapshot& s, const std::string& name) {
    for (const ScoreFactor& candidate : s.factors) {
        if (candidate.name == name) {
            return candidate;
        }
    }
    throw std::invalid_argument("no factor " + name);
}

/// The factor of that name after `change` was made to perfect readings.
template <typename Change>
ScoreFactor factorAfter(const std::string& name, Change change) {
    Snapshot s = perfectReadings();
    change(s);
    return factor(scored(s), name);
}

/// The score before it is rounded: the factors' healths by their weights, added in the order of the
/// pass.
inline double rawScore(const Snapshot& s) {
    double raw = 0;
    for (const char* name : {"Memory", "Disk", "CPU", "Load", "Swap", "Thermal"}) {
        raw += factor(s, name).health * factor(s, name).weight;
    }
    return raw;
}

inline double factorSum(const Snapshot& s, double (*of)(const ScoreFactor&)) {
    double sum = 0;
    for (const ScoreFactor& each : s.factors) {
        sum += of(each);
    }
    return sum;
}

} // namespace korvel::test
