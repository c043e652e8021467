#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// A bar with round ends on a track of the same shape, filled from the left, or mirrored. What is
/// filled has the rim; the track then does not shine through a translucent fill.
class GaugeBarItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(GaugeBar)
    Q_PROPERTY(qreal fraction READ fraction WRITE setFraction NOTIFY fractionChanged FINAL)
    Q_PROPERTY(qreal shortest READ shortest WRITE setShortest NOTIFY shortestChanged FINAL)
    Q_PROPERTY(
        QColor trackColour READ trackColour WRITE setTrackColour NOTIFY trackColourChanged FINAL)
    Q_PROPERTY(qreal fillWidth READ fillWidth NOTIFY fillWidthChanged FINAL)

  public:
    using TintedItem::TintedItem;

    /// The filled share of the width.
    qreal fraction() const { return fraction_; }
    void setFraction(qreal fraction);
    /// The least width that is filled, whatever the share; logical pixels.
    qreal shortest() const { return shortest_; }
    void setShortest(qreal shortest);
    QColor trackColour() const { return trackColour_; }
    void setTrackColour(const QColor& colour) {
        set(trackColour_, colour, &GaugeBarItem::trackColourChanged);
    }
    /// The width that is filled; logical pixels.
    qreal fillWidth() const;

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void fractionChanged();
    void shortestChanged();
    void trackColourChanged();
    void fillWidthChanged();

  protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

  private:
    qreal fraction_ = 0;
    qreal shortest_ = 0;
    QColor trackColour_;
};

} // namespace korvel
