#include "ui/quick/dial_item.h"

#include <algorithm>

#include <QPainter>

namespace korvel {

void DialItem::paint(QPainter* painter) {
    const qreal inside = std::min(width(), height()) - lineWidth_;
    const qreal side = diameter_ > 0 ? diameter_ : inside;
    const QRectF ring((width() - side) / 2, (height() - side) / 2, side, side);
    drawRing(*painter, ring);
    painter->setBrush(Qt::NoBrush);
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

/// The ring costs more than the arc, and Qt fills what has so many edges on threads of its own.
void DialItem::drawRing(QPainter& painter, const QRectF& box) {
    const auto draw = [&](QPainter& onto) {
        onto.setBrush(Qt::NoBrush);
        onto.setPen(QPen(trackColour_, lineWidth_));
        onto.drawEllipse(box);
    };
    if (painter.device()->devType() != QInternal::Image) {
        draw(painter);
        return;
    }
    const Ring wanted{.box = box,
                      .colour = trackColour_,
                      .lineWidth = lineWidth_,
                      .transform = painter.deviceTransform(),
                      .pixels = {painter.device()->width(), painter.device()->height()}};
    if (ringPicture_.isNull() || ring_ != wanted) {
        ring_ = wanted;
        ringPicture_ = QImage(wanted.pixels, QImage::Format_ARGB32_Premultiplied);
        ringPicture_.fill(Qt::transparent);
        QPainter once(&ringPicture_);
        once.setRenderHints(painter.renderHints());
        once.setTransform(wanted.transform);
        draw(once);
    }
    painter.save();
    painter.resetTransform();
    painter.drawImage(0, 0, ringPicture_);
    painter.restore();
}

} // namespace korvel
