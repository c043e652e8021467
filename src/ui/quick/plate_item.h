#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// A rectangle with round corners and a border along its inside, in the item's colour. Unlike Qt
/// Quick's own it is drawn evenly at every scale.
class PlateItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Plate)
    /// Of the outer edge; at most half of the shorter side.
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY radiusChanged FINAL)
    /// None at 0.
    Q_PROPERTY(
        qreal borderWidth READ borderWidth WRITE setBorderWidth NOTIFY borderWidthChanged FINAL)
    /// The place of the rectangle in the item, which may show only a part of it; the whole item
    /// where it is empty.
    Q_PROPERTY(QRectF shape READ shape WRITE setShape NOTIFY shapeChanged FINAL)
    Q_PROPERTY(QColor borderColour READ borderColour WRITE setBorderColour NOTIFY
                   borderColourChanged FINAL)

  public:
    explicit PlateItem(QQuickItem* parent = nullptr);

    qreal radius() const { return radius_; }
    void setRadius(qreal radius) { set(radius_, radius, &PlateItem::radiusChanged); }
    qreal borderWidth() const { return borderWidth_; }
    void setBorderWidth(qreal width) { set(borderWidth_, width, &PlateItem::borderWidthChanged); }
    QColor borderColour() const { return borderColour_; }
    void setBorderColour(const QColor& colour) {
        set(borderColour_, colour, &PlateItem::borderColourChanged);
    }

    QRectF shape() const { return shape_; }
    void setShape(const QRectF& shape) { set(shape_, shape, &PlateItem::shapeChanged); }

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void radiusChanged();
    void borderWidthChanged();
    void borderColourChanged();
    void shapeChanged();

  private:
    QRectF shape_;
    qreal radius_ = 0;
    qreal borderWidth_ = 0;
    QColor borderColour_ = Qt::transparent;
};

} // namespace korvel
