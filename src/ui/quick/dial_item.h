#pragma once

#include <QImage>
#include <QTransform>
#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// A ring, and over it an arc, clockwise.
class DialItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Dial)
    Q_PROPERTY(qreal fraction READ fraction WRITE setFraction NOTIFY fractionChanged FINAL)
    Q_PROPERTY(qreal goal READ goal WRITE setGoal NOTIFY goalChanged FINAL)
    Q_PROPERTY(qreal start READ start WRITE setStart NOTIFY startChanged FINAL)
    Q_PROPERTY(
        QColor trackColour READ trackColour WRITE setTrackColour NOTIFY trackColourChanged FINAL)
    Q_PROPERTY(qreal diameter READ diameter WRITE setDiameter NOTIFY diameterChanged FINAL)
    Q_PROPERTY(qreal lineWidth READ lineWidth WRITE setLineWidth NOTIFY lineWidthChanged FINAL)

  public:
    using TintedItem::TintedItem;

    /// The share of the ring that the arc covers, 0 to 1; nothing is drawn of it at 0.
    qreal fraction() const { return fraction_; }
    void setFraction(qreal fraction);
    /// Where the fraction is moving to. On the way there a step is drawn only when it moves the end
    /// of the arc by one of the screen's pixels. Less than 0, as it is at first: each is drawn.
    qreal goal() const { return goal_; }
    void setGoal(qreal goal);
    /// Where the arc begins: the share of the ring from twelve o'clock to there, 0 to 1.
    qreal start() const { return start_; }
    void setStart(qreal start) { set(start_, start, &DialItem::startChanged); }
    QColor trackColour() const { return trackColour_; }
    void setTrackColour(const QColor& colour) {
        set(trackColour_, colour, &DialItem::trackColourChanged);
    }
    /// Of the circle on whose line the strokes are drawn; 0, as it is at first: the largest whose
    /// strokes lie inside the item.
    qreal diameter() const { return diameter_; }
    void setDiameter(qreal diameter) { set(diameter_, diameter, &DialItem::diameterChanged); }
    qreal lineWidth() const { return lineWidth_; }
    void setLineWidth(qreal width) { set(lineWidth_, width, &DialItem::lineWidthChanged); }

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void fractionChanged();
    void goalChanged();
    void startChanged();
    void trackColourChanged();
    void diameterChanged();
    void lineWidthChanged();

  private:
    /// What the picture of the ring depends on.
    struct Ring {
        QRectF box;
        QColor colour;
        qreal lineWidth = 0;
        QTransform transform;
        QSize pixels;
        bool operator==(const Ring&) const = default;
    };
    qreal side() const;
    void drawRing(QPainter& painter, const QRectF& box);

    Ring ring_;
    QImage ringPicture_; ///< of `ring_`: while the arc moves it stays
    qreal fraction_ = 0;
    qreal goal_ = -1;
    qreal drawn_ = 0; ///< the fraction that was painted last
    qreal start_ = 0;
    QColor trackColour_;
    qreal diameter_ = 0;
    qreal lineWidth_ = 1;
};

} // namespace korvel
