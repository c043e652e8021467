#pragma once

#include <QList>
#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// The sparkline of a metric row.
class SparkItem : public TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Spark)
    Q_PROPERTY(QList<qreal> values READ values WRITE setValues NOTIFY valuesChanged FINAL)

  public:
    explicit SparkItem(QQuickItem* parent = nullptr);

    /// Oldest first; fewer than two draw nothing.
    QList<qreal> values() const { return values_; }
    void setValues(const QList<qreal>& values);

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void valuesChanged();

  private:
    QList<qreal> values_;
};

} // namespace korvel
