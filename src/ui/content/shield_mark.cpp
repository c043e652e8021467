#include "ui/content/shield_mark.h"

#include <algorithm>

namespace korvel {

ShieldMark::Strokes ShieldMark::strokes(Size frame) {
    const double scale = std::min(frame.width, frame.height) / kGrid;
    const Point origin{(frame.width - kGrid * scale) / 2, (frame.height - kGrid * scale) / 2};
    const auto at = [&](double x, double y) {
        return Point{origin.x + x * scale, origin.y + y * scale};
    };
    Strokes strokes;
    strokes.scale = scale;
    strokes.outlineStart = at(24, 5);
    const auto line = [&](Point from, Point to) {
        strokes.outline.push_back({from, to, to});
        return to;
    };
    const auto curve = [&](Point control1, Point control2, Point to) {
        strokes.outline.push_back({control1, control2, to});
        return to;
    };
    Point pen = line(strokes.outlineStart, at(9, 10.5));
    pen = line(pen, at(9, 23.3));
    pen = curve(at(9, 32), at(15.4, 39.3), at(24, 42.5));
    pen = curve(at(32.6, 39.3), at(39, 32), at(39, 23.3));
    line(pen, at(39, 10.5));
    strokes.trace = {at(14.5, 24.5), at(19.3, 24.5), at(22.7, 17),
                     at(26.7, 32),   at(29.7, 24.5), at(33.7, 24.5)};
    return strokes;
}

} // namespace korvel
