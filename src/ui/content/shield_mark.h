#pragma once

#include <vector>

#include "ui/content/geometry.h"
#include "ui/content/palette.h"

namespace korvel {

/// The program's badge: a shield with one heartbeat in it, drawn on a grid of 48 units.
struct ShieldMark {
    static constexpr double kGrid = 48;
    static constexpr double kOutlineWidth = 3.4; ///< units; butt caps, round joins
    static constexpr double kTraceWidth = 3.8;   ///< units; round caps, round joins
    static constexpr double kMiterLimit = 10;

    /// A cubic curve to `to`, or a straight line where both control points are its ends.
    struct Segment {
        Point control1;
        Point control2;
        Point to;
    };

    /// The mark's strokes in a frame.
    struct Strokes {
        double scale = 1; ///< logical pixels of one grid unit
        Point outlineStart;
        std::vector<Segment> outline; ///< closed by a straight line to `outlineStart`
        Polyline trace;
    };

    Ink colour = Ink::cyan;

    /// Scaled by the frame's shorter side and centred in it.
    static Strokes strokes(Size frame);
};

} // namespace korvel
