#include "ui/quick/hair_line_item.h"

#include <QPainter>
#include <QQuickWindow>

namespace korvel {

void HairLineItem::paint(QPainter* painter) {
    painter->fillRect(QRectF(0, 0, width(), 1 / window()->effectiveDevicePixelRatio()), colour());
}

} // namespace korvel
