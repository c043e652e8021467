#include "ui/quick/dial_item.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <QPainter>

namespace korvel {

void DialItem::setFraction(qreal fraction) {
    if (fraction_ == fraction) {
        return;
    }
    fraction_ = fraction;
    const bool moving = goal_ >= 0 && fraction_ != goal_;
    const qreal moved = std::abs(fraction_ - drawn_) * side() * std::numbers::pi * grid().ratio();
    if (!moving || moved >= 1) {
        update();
    }
    Q_EMIT fractionChanged();
}

void DialItem::setGoal(qreal goal) {
    if (goal_ == goal) {
        return;
    }
    goal_ = goal;
    if (fraction_ == goal_) {
        update(); // the last step before may not have been drawn
    }
    Q_EMIT goalChanged();
}

/// The diameter of the circle in the middle of the stroke.
qreal DialItem::side() const {
    return diameter_ > 0 ? diameter_ : std::min(width(), height()) - lineWidth_;
}

void DialItem::paint(QPainter* painter) {
    const QRectF ring((width() - side()) / 2, (height() - side()) / 2, side(), side());
    drawn_ = fraction_;
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
