#include "tools/icons/badge_icon.h"

#include <algorithm>
#include <cmath>

#include <QColorSpace>
#include <QPainter>
#include <QPainterPath>

#include "ui/content/palette.h"
#include "ui/content/shield_mark.h"

namespace korvel {

namespace {

// Of the system's template for icons: the ground's side on a canvas of 1024, and the radius of its
// corners as a share of that side.
constexpr double kGroundShare = 824.0 / 1024;
constexpr double kCornerShare = 185.4 / 824;
// The side of the badge's grid as a share of the ground's. In the smallest size its lines would be
// thinner than a pixel.
constexpr double kMarkShare = 0.8;
constexpr double kSmallestMarkShare = 1;
constexpr double kSmallestGround = 16;

QPointF at(const Point& point) {
    return {point.x, point.y};
}

QColor cyan(double alpha) {
    const platform::Colour colour = rgb(ShieldMark().colour);
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue), static_cast<float>(alpha));
}

/// Dark in light and in dark surroundings; the rim keeps it apart from a dark window.
void drawGround(QPainter& painter, const QRectF& ground) {
    const double radius = ground.width() * kCornerShare;
    QLinearGradient fill(ground.topLeft(), ground.bottomLeft());
    fill.setColorAt(0, QColor(0x24, 0x32, 0x40));
    fill.setColorAt(1, QColor(0x0b, 0x11, 0x18));
    QPainterPath shape;
    shape.addRoundedRect(ground, radius, radius);
    painter.fillPath(shape, fill);

    QRadialGradient glow(ground.center(), ground.width() / 2);
    glow.setColorAt(0, cyan(0.16));
    glow.setColorAt(1, cyan(0));
    painter.fillPath(shape, glow);

    const double width = std::max(0.5, ground.width() / 206);
    QLinearGradient light(ground.topLeft(), ground.bottomLeft());
    light.setColorAt(0, QColor(255, 255, 255, 64));
    light.setColorAt(1, QColor(255, 255, 255, 44));
    const double in = width / 2;
    QPainterPath rim;
    rim.addRoundedRect(ground.adjusted(in, in, -in, -in), radius - in, radius - in);
    painter.setCompositionMode(QPainter::CompositionMode_SourceAtop); // nothing outside the shape
    painter.strokePath(rim, QPen(QBrush(light), width));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

/// The side of the grid with which both sides of the shield end on whole pixels, nearest to
/// `wanted`.
double crispGrid(double wanted, double outlineStartX, double leftX) {
    const double units = outlineStartX - leftX + ShieldMark::kOutlineWidth / 2;
    return std::round(units * wanted / ShieldMark::kGrid) * ShieldMark::kGrid / units;
}

void drawMark(QPainter& painter, const QRectF& ground) {
    const ShieldMark::Strokes unit = ShieldMark::strokes({ShieldMark::kGrid, ShieldMark::kGrid});
    const double share = ground.width() < kSmallestGround ? kSmallestMarkShare : kMarkShare;
    const double grid =
        crispGrid(ground.width() * share, unit.outlineStart.x, unit.outline.front().to.x);
    const ShieldMark::Strokes strokes = ShieldMark::strokes({grid, grid});
    QPainterPath outline(at(strokes.outlineStart));
    for (const ShieldMark::Segment& segment : strokes.outline) {
        outline.cubicTo(at(segment.control1), at(segment.control2), at(segment.to));
    }
    outline.closeSubpath();
    QPainterPath trace(at(strokes.trace.front()));
    for (const Point& point : strokes.trace) {
        trace.lineTo(at(point));
    }
    painter.translate(ground.center() - QPointF(grid / 2, grid / 2));
    const auto stroke = [&](const QPainterPath& path, double units, Qt::PenCapStyle cap) {
        painter.strokePath(path,
                           QPen(cyan(1), units * strokes.scale, Qt::SolidLine, cap, Qt::RoundJoin));
    };
    stroke(outline, ShieldMark::kOutlineWidth, Qt::FlatCap);
    stroke(trace, ShieldMark::kTraceWidth, Qt::RoundCap);
}

} // namespace

QImage drawBadgeIcon(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setColorSpace(QColorSpace::SRgb);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // In whole pixels, so that the edges of the ground are sharp in the small sizes.
    const double margin = std::floor(side * (1 - kGroundShare) / 2);
    const QRectF ground(margin, margin, side - 2 * margin, side - 2 * margin);
    drawGround(painter, ground);
    drawMark(painter, ground);
    return image;
}

} // namespace korvel
