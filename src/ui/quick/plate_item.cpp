#include "ui/quick/plate_item.h"

#include <algorithm>

#include <QPainter>
#include <QPainterPath>

namespace korvel {

namespace {

QPainterPath rounded(const QRectF& box, qreal radius) {
    const qreal most = std::min(box.width(), box.height()) / 2;
    const qreal used = std::clamp(radius, 0.0, std::max(0.0, most));
    QPainterPath path;
    path.addRoundedRect(box, used, used);
    return path;
}

} // namespace

PlateItem::PlateItem(QQuickItem* parent) : TintedItem(parent) {
    setColour(Qt::transparent);
}

void PlateItem::paint(QPainter* painter) {
    const QRectF box = shape_.isEmpty() ? boundingRect() : shape_;
    const qreal w = borderWidth_;
    const QPainterPath outer = rounded(box, radius_);
    // Under a border that covers it the ground ends in its middle, or it would show at the edge.
    const qreal inset = borderColour_.alpha() == 255 ? w / 2 : 0;
    painter->fillPath(rounded(box.adjusted(inset, inset, -inset, -inset), radius_ - inset),
                      colour());
    if (w > 0) {
        QPainterPath ring = outer;
        ring.addPath(rounded(box.adjusted(w, w, -w, -w), radius_ - w));
        ring.setFillRule(Qt::OddEvenFill);
        painter->fillPath(ring, borderColour_);
    }
}

} // namespace korvel
