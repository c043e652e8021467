#include "ui/quick/spark_item.h"

#include <QPainter>
#include <QPainterPath>

#include "ui/content/spark.h"

namespace korvel {

SparkItem::SparkItem(QQuickItem* parent) : TintedItem(parent) {
    setImplicitSize(Spark::kFrame.width + 2 * kOverscan, Spark::kFrame.height + 2 * kOverscan);
}

void SparkItem::paint(QPainter* painter) {
    Spark spark;
    spark.values.assign(values_.begin(), values_.end());
    const qreal scale = height() / implicitHeight();
    const qreal overscan = kOverscan * scale;
    const qreal lineWidth = Spark::kLineWidth * scale;
    const Polyline line = spark.path({width() - 2 * overscan, height() - 2 * overscan});
    if (line.empty()) {
        return;
    }
    QPainterPath path(QPointF(line.front().x, line.front().y));
    for (const Point& point : line) {
        path.lineTo(point.x, point.y);
    }
    QColor stroke = colour();
    stroke.setAlphaF(static_cast<float>(Spark::kOpacity));
    QPen pen(stroke, lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
    pen.setMiterLimit(Spark::kMiterLimit);
    painter->translate(overscan, overscan);
    if (hasRim()) {
        QPen around = pen;
        around.setColor(rim());
        around.setWidthF(lineWidth + 2 * rimWidth(*painter));
        painter->strokePath(path, around);
        painter->setCompositionMode(QPainter::CompositionMode_Source); // the line is translucent
    }
    painter->strokePath(path, pen);
}

} // namespace korvel
