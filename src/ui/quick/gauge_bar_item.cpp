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

void GaugeBarItem::setTrackColour(const QColor& colour) {
    if (trackColour_ == colour) {
        return;
    }
    trackColour_ = colour;
    update();
    Q_EMIT trackColourChanged();
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
    const auto drawCapsule = [&](qreal length, const QColor& colour) {
        const qreal radius = std::min(length, height()) / 2;
        painter->setBrush(colour);
        painter->drawRoundedRect(QRectF(0, 0, length, height()), radius, radius);
    };
    drawCapsule(width(), trackColour_);
    drawCapsule(fillWidth(), colour());
}

} // namespace korvel
