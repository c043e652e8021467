#pragma once

#include <optional>

#include <QList>
#include <QMargins>
#include <QPoint>
#include <QRect>
#include <QSize>

namespace korvel::platform {

/// An output: its rectangle among all of them, and how many of its own pixels are one of these.
struct ScaledOutput {
    QRect logical;
    double scale = 1;
};

/// Where a click was, among all outputs, that a host puts at `told`. Most hosts count in logical
/// pixels; `devicePixels`: the one here counts in those of the output. Either is taken where the
/// other is on none of the outputs; nullopt: both are.
std::optional<QPoint> clickPlace(QPointF told, const QList<ScaledOutput>& outputs,
                                 bool devicePixels);

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
