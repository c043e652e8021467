#pragma once

#include <cmath>

#include <QColor>
#include <QImage>
#include <QPainter>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// What an item paints, on nothing, with so many pixels for one of its own.
inline QImage painted(TintedItem& item, double scale = 1) {
    const QSizeF size = item.size() * scale;
    QImage image(static_cast<int>(std::ceil(size.width())),
                 static_cast<int>(std::ceil(size.height())), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    item.paint(&painter);
    return image;
}

inline bool near(const QColor& a, const QColor& b) {
    return std::abs(a.red() - b.red()) < 8 && std::abs(a.green() - b.green()) < 8 &&
           std::abs(a.blue() - b.blue()) < 8;
}

} // namespace korvel
