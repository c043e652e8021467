#pragma once

#include <functional>
#include <vector>

#include "model/history_store.h"
#include "ui/content/geometry.h"
#include "ui/content/palette.h"
#include "ui/content/popover_sizes.h"

namespace korvel {

/// The sparkline of a metric row: the newest points of one quantity of the history.
struct Spark {
    static constexpr std::size_t kPoints = 60;
    static constexpr double kLowestTop = 20; ///< keeps a quiet series low in its box
    static constexpr Size kFrame{PopoverLengths{}.sparkWidth, PopoverLengths{}.sparkHeight};
    static constexpr double kLineWidth = 1.3; ///< logical pixels; butt caps, round joins
    static constexpr double kMiterLimit = 10;
    static constexpr double kOpacity = 0.85;

    Ink colour = Ink::cyan;
    std::vector<double> values; ///< oldest first, at most `kPoints`

    Spark() = default;
    /// Takes the newest entries of `points` by count, whatever their times.
    Spark(const History& points, Ink strokeColour,
          const std::function<double(const HistoryPoint&)>& value);

    /// The line through the values, spread over the whole width; empty for fewer than two. A value
    /// below zero falls under the box.
    Polyline path(Size size) const;
};

} // namespace korvel
