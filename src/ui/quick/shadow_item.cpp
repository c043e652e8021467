#include "ui/quick/shadow_item.h"

#include <algorithm>
#include <cmath>

#include <QImage>
#include <QPainter>

namespace korvel {

namespace {

/// How much of the shadow is left at a distance outside its edge: that of a blurred edge, brought
/// to nothing at the end of its reach.
qreal strength(qreal distance) {
    constexpr qreal kSigma = ShadowItem::kReach / 2.2;
    const auto blurred = [](qreal d) { return std::erfc(d / (kSigma * std::sqrt(2.0))) / 2; };
    return std::max(0.0, blurred(distance) - blurred(ShadowItem::kReach));
}

} // namespace

QImage ShadowItem::corner(qreal scale) const {
    // Far enough inwards that the panel, which stands higher than its shadow, covers the rest.
    const int side = static_cast<int>(std::ceil((kReach + radius_ + 2 * kDrop) * scale));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            // From the middle of the corner's arc, outwards.
            const qreal right = kReach + radius_ - (x + 0.5) / scale;
            const qreal down = kReach + radius_ - (y + 0.5) / scale;
            const qreal distance = std::hypot(std::max(right, 0.0), std::max(down, 0.0)) +
                                   std::min(std::max(right, down), 0.0) - radius_;
            QColor ink = colour();
            ink.setAlphaF(ink.alphaF() * static_cast<float>(strength(distance)));
            image.setPixelColor(x, y, ink);
        }
    }
    return image;
}

void ShadowItem::paint(QPainter* painter) {
    const qreal scale = std::max(1.0, painter->deviceTransform().m11());
    const QImage topLeft = corner(scale);
    const int pixels = topLeft.width();
    const qreal side = pixels / scale;
    const qreal right = width() - side;
    const qreal bottom = height() - side;
    const QRectF whole(0, 0, pixels, pixels);
    // Between the corners an edge is the same all along: the corner's last column or row, drawn
    // out.
    const QRectF column(pixels - 1, 0, 1, pixels);
    const QRectF row(0, pixels - 1, pixels, 1);
    for (const bool flippedX : {false, true}) {
        for (const bool flippedY : {false, true}) {
            painter->drawImage(QRectF(flippedX ? right : 0, flippedY ? bottom : 0, side, side),
                               topLeft.mirrored(flippedX, flippedY), whole);
        }
    }
    for (const bool flipped : {false, true}) {
        painter->drawImage(QRectF(side, flipped ? bottom : 0, right - side, side),
                           topLeft.mirrored(false, flipped), column);
        painter->drawImage(QRectF(flipped ? right : 0, side, side, bottom - side),
                           topLeft.mirrored(flipped, false), row);
    }
}

} // namespace korvel
