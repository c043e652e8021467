#include "ui/quick/gauge_bar_item.h"

#include <algorithm>

#include <QPainter>

namespace korvel {

void GaugeBarItem::setFraction(qreal fraction) {
    if (fraction_ == fraction) {
        return;
    }
    fraction_ = fraction;
    update();
    Q_EMIT fractionChanged();
    Q_EMIT fillWidthChanged();
}

void GaugeBarItem::setShortest(qreal shortest) {
    if (shortest_ == shortest) {
        return;
    }
    shortest_ = shortest;
    update();
    Q_EMIT shortestChanged();
    Q_EMIT fillWidthChanged();
}

qreal GaugeBarItem::fillWidth() const {
    return std::max(width() * fraction_, shortest_);
}

void GaugeBarItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    TintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.width() != oldGeometry.width()) {
        Q_EMIT fillWidthChanged();
    }
}

void GaugeBarItem::paint(QPainter* painter) {
    painter->setPen(Qt::NoPen);
    const auto drawCapsule = [&](const QRectF& box, const QColor& colour) {
        const qreal radius = std::min(box.width(), box.height()) / 2;
        painter->setBrush(colour);
        painter->drawRoundedRect(box, radius, radius);
    };
    drawCapsule({0, 0, width(), height()}, trackColour_);
    const QRectF fill(mirrored() ? width() - fillWidth() : 0, 0, fillWidth(), height());
    if (!hasRim()) {
        drawCapsule(fill, colour());
        return;
    }
    drawCapsule(fill, rim());
    const qreal wide = rimWidth(*painter);
    const QRectF within = fill.adjusted(wide, wide, -wide, -wide);
    if (within.isValid()) {
        painter->setCompositionMode(
            QPainter::CompositionMode_Source); // the fill may be translucent
        drawCapsule(within, colour());
    }
}

} // namespace korvel
