#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// A ring, and over it an arc from twelve o'clock clockwise. The strokes lie inside the item.
class DialItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Dial)
    Q_PROPERTY(qreal fraction READ fraction WRITE setFraction NOTIFY fractionChanged FINAL)
    Q_PROPERTY(
        QColor trackColour READ trackColour WRITE setTrackColour NOTIFY trackColourChanged FINAL)
    Q_PROPERTY(qreal lineWidth READ lineWidth WRITE setLineWidth NOTIFY lineWidthChanged FINAL)

  public:
    using TintedItem::TintedItem;

    /// The share of the ring that the arc covers, 0 to 1; nothing is drawn of it at 0.
    qreal fraction() const { return fraction_; }
    void setFraction(qreal fraction);
    QColor trackColour() const { return trackColour_; }
    void setTrackColour(const QColor& colour);
    qreal lineWidth() const { return lineWidth_; }
    void setLineWidth(qreal width);

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void fractionChanged();
    void trackColourChanged();
    void lineWidthChanged();

  private:
    qreal fraction_ = 0;
    QColor trackColour_;
    qreal lineWidth_ = 1;
};

} // namespace korvel
