#include "ui/content/spark.h"

#include <algorithm>

namespace korvel {

Spark::Spark(const History& points, Ink strokeColour,
             const std::function<double(const HistoryPoint&)>& value)
    : colour(strokeColour) {
    const std::size_t count = std::min(points.size(), kPoints);
    values.reserve(count);
    std::transform(points.end() - static_cast<std::ptrdiff_t>(count), points.end(),
                   std::back_inserter(values), value);
}

Polyline Spark::path(Size size) const {
    if (values.size() < 2) {
        return {};
    }
    const double top = std::max(*std::max_element(values.begin(), values.end()), kLowestTop);
    const double step = size.width / static_cast<double>(values.size() - 1);
    Polyline line;
    line.reserve(values.size());
    for (const double value : values) {
        const auto i = static_cast<double>(line.size());
        line.push_back({step * i, size.height * (1 - value / top)});
    }
    return line;
}

} // namespace korvel
