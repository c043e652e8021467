#include "ui/quick/symbol_item.h"

#include <algorithm>

#include <QPainter>

#include "ui/quick/symbols.h"

namespace korvel {

void SymbolItem::setName(const QString& name) {
    if (name_ == name) {
        return;
    }
    name_ = name;
    update();
    Q_EMIT nameChanged();
}

void SymbolItem::setSize(qreal size) {
    if (size_ == size) {
        return;
    }
    size_ = size;
    // Somewhat taller than the letters; an even side stays whole at one and a half times the size.
    constexpr qreal kHalfSide = 0.6;
    const qreal side = 2 * qRound(size * kHalfSide);
    setImplicitSize(side, side);
    Q_EMIT sizeChanged();
}

void SymbolItem::setBold(bool bold) {
    if (bold_ == bold) {
        return;
    }
    bold_ = bold;
    update();
    Q_EMIT boldChanged();
}

void SymbolItem::paint(QPainter* painter) {
    const qreal side = std::min(width(), height());
    painter->translate((width() - side) / 2, (height() - side) / 2);
    painter->scale(side / kSymbolGrid, side / kSymbolGrid);
    painter->fillPath(symbolPath(name_, bold_ ? SymbolWeight::bold : SymbolWeight::regular),
                      colour());
}

} // namespace korvel
