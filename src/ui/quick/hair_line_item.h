#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// A line along the item's top, as thin as the screen can draw it, whatever the scale.
class HairLineItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(HairLine)

  public:
    using TintedItem::TintedItem;

    void paint(QPainter* painter) override;
};

} // namespace korvel
