#pragma once

#include <optional>
#include <string>

#include "ui/content/palette.h"
#include "ui/content/spark.h"

namespace korvel {

/// One metric of the popover: caption, bar, sparkline and percentage, and a line that explains it.
struct Row {
    std::string label;
    double pct = 0; ///< may pass 100; never NaN or infinite
    std::string detail;
    Ink colour = Ink::good;
    std::optional<Spark> spark;
    bool isReported = true; ///< whether the machine has a figure for it

    /// The percentage truncated toward zero ("49%"); "—" for one that is not reported. Fatal for a
    /// non-finite one.
    std::string percentText() const;

    /// The filled share of the bar, at most 1.
    double barFraction() const;
};

} // namespace korvel
