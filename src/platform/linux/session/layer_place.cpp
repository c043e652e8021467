#include "platform/linux/session/layer_place.h"

#include <algorithm>

namespace korvel::platform {

namespace {

/// Between the bar and the panel, and to the output's edges. A bar that floats stands by as much
/// further in than the room that it reserves.
constexpr int kGap = 8;
constexpr int kThickest = 100; ///< of a bar, from the output's edge

/// From the nearer end of a length to a panel whose middle is to be at `middle`.
int fromEnd(bool farEnd, int middle, int length, int panel) {
    const int start = middle - panel / 2;
    return std::max(kGap, farEnd ? length - start - panel : start);
}

} // namespace

std::optional<QPoint> clickPlace(QPointF told, const QList<ScaledOutput>& outputs,
                                 bool devicePixels) {
    for (const bool divided : {devicePixels, !devicePixels}) {
        for (const ScaledOutput& output : outputs) {
            const QPoint place = (divided ? told / output.scale : told).toPoint();
            if (output.logical.contains(place)) {
                return place;
            }
        }
    }
    return std::nullopt;
}

LayerPlace layerPlace(QPoint click, QSize output, QSize panel, const QMargins& shadow) {
    const int toRight = output.width() - click.x();
    const int toBottom = output.height() - click.y();
    // In a corner too: there the panel is at both edges, whichever way the bar goes.
    const bool upright = std::min(click.x(), toRight) <= kThickest;
    const bool atRight = toRight < click.x();
    const bool atBottom = toBottom < click.y();
    const int x = upright ? kGap : fromEnd(atRight, click.x(), output.width(), panel.width());
    const int y = upright ? fromEnd(atBottom, click.y(), output.height(), panel.height()) : kGap;
    return {.atRight = atRight,
            .atBottom = atBottom,
            .margins = {atRight ? 0 : x - shadow.left(), atBottom ? 0 : y - shadow.top(),
                        atRight ? x - shadow.right() : 0, atBottom ? y - shadow.bottom() : 0}};
}

} // namespace korvel::platform
