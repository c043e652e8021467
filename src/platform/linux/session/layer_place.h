#pragma once

#include <QMargins>
#include <QPoint>
#include <QSize>

namespace korvel::platform {

/// How a surface of the layer shell is held on its output: by one corner of the free area, away
/// from its edges by the margins. Lengths are logical pixels.
struct LayerPlace {
    bool atRight = false;  ///< else at the left
    bool atBottom = false; ///< else at the top
    QMargins margins;      ///< only those at the corner count; negative where a shadow reaches over

    bool operator==(const LayerPlace&) const = default;
};

/// The place at a bar's item that was clicked at `click` (from the output's top left corner) for a
/// panel of this size with this shadow around it: at the bar, a little away from it, its middle at
/// the click, inside the output. Which edge the bar is at is told from the click: the nearer of top
/// and bottom, or of left and right where the click is near these.
LayerPlace layerPlace(QPoint click, QSize output, QSize panel, const QMargins& shadow);

} // namespace korvel::platform
