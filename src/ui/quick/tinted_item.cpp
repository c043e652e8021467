#include "ui/quick/tinted_item.h"

#include <algorithm>

#include <QPainter>

namespace korvel {

TintedItem::TintedItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void TintedItem::setColour(const QColor& colour) {
    if (colour_ == colour) {
        return;
    }
    colour_ = colour;
    update();
    Q_EMIT colourChanged();
}

void TintedItem::setRim(const QColor& colour) {
    if (rim_ == colour) {
        return;
    }
    rim_ = colour;
    update();
    Q_EMIT rimChanged();
}

void TintedItem::setMirrored(bool mirrored) {
    if (mirrored_ == mirrored) {
        return;
    }
    mirrored_ = mirrored;
    update();
    Q_EMIT mirroredChanged();
}

qreal TintedItem::rimWidth(const QPainter& painter) {
    constexpr qreal kLeast = 0.6;
    return std::max(kLeast, 1 / painter.deviceTransform().m11());
}

} // namespace korvel
