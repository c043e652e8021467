#include "ui/quick/shield_mark_item.h"

#include <QPainter>
#include <QPainterPath>

#include "ui/content/shield_mark.h"

namespace korvel {

namespace {

QPointF at(const Point& point) {
    return {point.x, point.y};
}

} // namespace

ShieldMarkItem::ShieldMarkItem(QQuickItem* parent) : TintedItem(parent) {
    const platform::Colour cyan = rgb(ShieldMark().colour);
    setColour(QColor::fromRgbF(static_cast<float>(cyan.red), static_cast<float>(cyan.green),
                               static_cast<float>(cyan.blue)));
}

void ShieldMarkItem::paint(QPainter* painter) {
    const ShieldMark::Strokes strokes = ShieldMark::strokes({width(), height()});
    QPainterPath outline(at(strokes.outlineStart));
    for (const ShieldMark::Segment& segment : strokes.outline) {
        outline.cubicTo(at(segment.control1), at(segment.control2), at(segment.to));
    }
    outline.closeSubpath();
    QPainterPath trace(at(strokes.trace.front()));
    for (const Point& point : strokes.trace) {
        trace.lineTo(at(point));
    }
    const auto drawStrokes = [&](const QColor& colour, qreal wider) {
        const auto stroke = [&](const QPainterPath& path, double units, Qt::PenCapStyle cap) {
            QPen pen(colour, units * strokes.scale + wider, Qt::SolidLine, cap, Qt::RoundJoin);
            pen.setMiterLimit(ShieldMark::kMiterLimit);
            painter->strokePath(path, pen);
        };
        stroke(outline, ShieldMark::kOutlineWidth, Qt::FlatCap);
        stroke(trace, ShieldMark::kTraceWidth, Qt::RoundCap);
    };
    if (hasRim()) {
        drawStrokes(rim(), 2 * rimWidth(*painter));
    }
    drawStrokes(colour(), 0);
}

} // namespace korvel
