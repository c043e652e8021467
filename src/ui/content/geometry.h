#pragma once

#include <vector>

namespace korvel {

/// A point of a drawing, in logical pixels from the top left.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

/// A box to draw in, in logical pixels.
struct Size {
    double width = 0;
    double height = 0;
};

using Polyline = std::vector<Point>;

} // namespace korvel
