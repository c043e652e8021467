#pragma once

#include <QMargins>
#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// The soft shadow of a rounded panel that stands in the item, away from its edges by the margins.
/// The colour is the shadow's at its darkest, with its opacity.
class ShadowItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Shadow)
    /// Of the panel's corners.
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY radiusChanged FINAL)
    Q_PROPERTY(int sideMargin READ sideMargin CONSTANT FINAL)
    Q_PROPERTY(int topMargin READ topMargin CONSTANT FINAL)
    Q_PROPERTY(int bottomMargin READ bottomMargin CONSTANT FINAL)

  public:
    using TintedItem::TintedItem;

    /// How far the shadow reaches, and how far it lies below the panel: multiples of four, so that
    /// the panel stands on whole pixels at scales of 1.25, 1.5 and 1.75 too.
    static constexpr int kReach = 20;
    static constexpr int kDrop = 8;
    static constexpr QMargins kMargins{kReach, kReach - kDrop, kReach, kReach + kDrop};

    qreal radius() const { return radius_; }
    void setRadius(qreal radius) { set(radius_, radius, &ShadowItem::radiusChanged); }
    int sideMargin() const { return kMargins.left(); }
    int topMargin() const { return kMargins.top(); }
    int bottomMargin() const { return kMargins.bottom(); }

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void radiusChanged();

  private:
    /// The corner at the top left, in screen pixels.
    QImage corner(qreal scale) const;

    qreal radius_ = 0;
};

} // namespace korvel
