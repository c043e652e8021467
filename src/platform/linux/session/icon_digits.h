#pragma once

#include <string_view>

#include <QColor>
#include <QPainter>

namespace korvel::platform {

/// The sizes of numerals that are drawn in strokes: every straight stroke lies on whole pixels, and
/// a digit looks the same on every desktop, whatever its fonts are. The ink of a digit fills its
/// width and its height.
struct DigitMetrics {
    int width = 0;    ///< of a digit but the 1, in pixels
    int oneWidth = 0; ///< of a 1, in pixels
    int height = 0;   ///< in pixels
    int stroke = 0;   ///< in pixels
    int gap = 0;      ///< between digits, in pixels

    bool operator==(const DigitMetrics&) const = default;
};

/// Pixels from the left edge of the first digit to the right edge of the last one.
int digitsWidth(std::string_view digits, const DigitMetrics& metrics);

/// Fills the number with `ink`, its top left corner at the painter's origin.
void drawDigits(QPainter& painter, std::string_view digits, const DigitMetrics& metrics,
                const QColor& ink);

} // namespace korvel::platform
