#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// The program's badge.
class ShieldMarkItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(ShieldMark)

  public:
    explicit ShieldMarkItem(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;
};

} // namespace korvel
