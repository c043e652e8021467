#pragma once

#include <QList>
#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// The sparkline of a metric row. The item is larger than the line's box by `kOverscan` on each
/// side, so that a line along the box's edge shows its whole width.
class SparkItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Spark)
    Q_PROPERTY(QList<qreal> values READ values WRITE setValues NOTIFY valuesChanged FINAL)

  public:
    static constexpr qreal kOverscan = 2; ///< logical pixels, in the item's implicit size

    explicit SparkItem(QQuickItem* parent = nullptr);

    /// Oldest first; fewer than two draw nothing.
    QList<qreal> values() const { return values_; }
    void setValues(const QList<qreal>& values) { set(values_, values, &SparkItem::valuesChanged); }

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void valuesChanged();

  private:
    QList<qreal> values_;
};

} // namespace korvel
