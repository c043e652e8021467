#include "ui/quick/tinted_item.h"

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

} // namespace korvel
