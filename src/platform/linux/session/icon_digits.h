#pragma once

#include <QColor>
#include <QPainter>
#include <QString>

namespace korvel::platform {

/// The sizes of numerals that are drawn for icons of few pixels: every straight stroke lies on
/// whole pixels, and a digit looks the same on every desktop, whatever its fonts are.
struct DigitMetrics {
    int width = 0;  ///< of a digit, in pixels
    int height = 0; ///< in pixels
    int stroke = 0; ///< in pixels
    int gap = 0;    ///< between digits, in pixels

    bool operator==(const DigitMetrics&) const = default;
};

/// Pixels from the left edge of the first digit to the right edge of the last one. A leading 1 is
/// narrow in a number of three digits, which is the only way that 100 fits into 16 pixels.
int digitsWidth(const QString& digits, const DigitMetrics& metrics);

/// Fills the number with `ink`, its top left corner at the painter's origin.
void drawDigits(QPainter& painter, const QString& digits, const DigitMetrics& metrics,
                const QColor& ink);

} // namespace korvel::platform
