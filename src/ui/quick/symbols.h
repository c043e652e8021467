#pragma once

#include <QPainterPath>
#include <QString>

namespace korvel {

enum class SymbolWeight { regular, bold };

/// The side of the square that symbols are drawn on.
inline constexpr qreal kSymbolGrid = 24;

/// The filled outline of the symbol of that name; empty for a name that is none of the set. The
/// same path is handed out each time.
QPainterPath symbolPath(const QString& name, SymbolWeight weight);

/// The shape that the sign of a filled symbol is cut out of; empty for a symbol without a sign.
QPainterPath symbolBody(const QString& name);

} // namespace korvel
