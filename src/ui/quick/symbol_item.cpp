#include "ui/quick/symbol_item.h"

#include <algorithm>

#include <QPainter>

#include "ui/content/contrast.h"
#include "ui/quick/symbols.h"

namespace korvel {

namespace {

/// How much a rim's colour must differ from the fill for a sign in it to be seen. Where it does
/// not, the sign shows the ground, as without a rim.
constexpr double kSignContrast = 2;

double contrastOf(const QColor& a, const QColor& b) {
    return contrastRatio({a.redF(), a.greenF(), a.blueF()}, {b.redF(), b.greenF(), b.blueF()});
}

} // namespace

void SymbolItem::setSize(qreal size) {
    if (size_ == size) {
        return;
    }
    size_ = size;
    gridChanged();
    Q_EMIT sizeChanged();
}

/// Somewhat taller than the letters; an even side stays whole at one and a half times the size.
void SymbolItem::gridChanged() {
    constexpr qreal kHalfSide = 0.6;
    const qreal side = grid().length(2 * qRound(size_ * kHalfSide));
    setImplicitSize(side, side);
}

void SymbolItem::paint(QPainter* painter) {
    const qreal side = std::min(width(), height());
    const qreal unit = side / kSymbolGrid;
    const qreal around = hasRim() ? rimWidth(*painter) / unit : 0;
    painter->translate((width() - side) / 2, (height() - side) / 2);
    painter->scale(unit, unit);
    if (mirrored()) {
        painter->translate(kSymbolGrid, 0);
        painter->scale(-1, 1);
    }
    const QPainterPath path = symbolPath(name_, bold_ ? SymbolWeight::bold : SymbolWeight::regular);
    painter->fillPath(path, colour());
    if (!hasRim()) {
        return;
    }
    const QPainterPath body = symbolBody(name_);
    if (!body.isEmpty() && contrastOf(rim(), colour()) >= kSignContrast) {
        painter->setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter->fillPath(body, rim());
    }
    painter->setCompositionMode(QPainter::CompositionMode_SourceAtop); // the half that is inside
    painter->strokePath(body.isEmpty() ? path : body, QPen(rim(), 2 * around));
}

} // namespace korvel
