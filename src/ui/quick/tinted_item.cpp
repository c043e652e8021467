#include "ui/quick/tinted_item.h"

#include <algorithm>

#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGSimpleTextureNode>

namespace korvel {

TintedItem::TintedItem(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

qreal TintedItem::rimWidth(const QPainter& painter) {
    constexpr qreal kLeast = 0.6;
    return std::max(kLeast, 1 / painter.deviceTransform().m11());
}

PixelGrid TintedItem::grid() const {
    return window() ? PixelGrid(window()->effectiveDevicePixelRatio()) : PixelGrid();
}

void TintedItem::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change == ItemDevicePixelRatioHasChanged || (change == ItemSceneChange && data.window)) {
        gridChanged();
        update();
    }
}

QSGNode* TintedItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    const PixelGrid grid = this->grid();
    const qreal ratio = grid.ratio();
    const QSize pixels = (QSizeF(grid.holding(width()), grid.holding(height())) * ratio).toSize();
    if (pixels.isEmpty()) {
        delete node;
        return nullptr;
    }
    QImage picture(pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(ratio, ratio);
        paint(&painter);
    }
    auto* shown = static_cast<QSGSimpleTextureNode*>(node);
    if (!shown) {
        shown = new QSGSimpleTextureNode(); // which the scene graph takes
        shown->setOwnsTexture(true);
    }
    shown->setTexture(window()->createTextureFromImage(picture));
    shown->setRect(QRectF(QPointF(), QSizeF(pixels) / ratio));
    return shown;
}

} // namespace korvel
