#include "ui/quick/dial_item.h"

#include <algorithm>

#include <QPainter>

namespace korvel {

void DialItem::paint(QPainter* painter) {
    const qreal inside = std::min(width(), height()) - lineWidth_;
    const qreal side = diameter_ > 0 ? diameter_ : inside;
    const QRectF ring((width() - side) / 2, (height() - side) / 2, side, side);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(trackColour_, lineWidth_));
    painter->drawEllipse(ring);
    if (!(fraction_ > 0)) {
        return; // round caps would leave a dot
    }
    const auto drawArc = [&](const QColor& colour, qreal width) {
        if (fraction_ >= 1) {
            painter->setPen(QPen(colour, width));
            painter->drawEllipse(ring);
            return;
        }
        // In QPainter's sixteenths of a degree, from three o'clock, anticlockwise.
        constexpr int kCircle = 360 * 16;
        constexpr int kTwelveOClock = kCircle / 4;
        painter->setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap));
        painter->drawArc(ring, kTwelveOClock - qRound(start_ * kCircle),
                         -qRound(fraction_ * kCircle));
    };
    if (!hasRim()) {
        drawArc(colour(), lineWidth_);
        return;
    }
    drawArc(rim(), lineWidth_);
    drawArc(colour(), lineWidth_ - 2 * rimWidth(*painter));
}

} // namespace korvel
