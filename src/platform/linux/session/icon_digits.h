#pragma once

#include <array>
#include <string_view>
#include <vector>

#include <QColor>
#include <QImage>
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

/// Draws numbers in one ink. What a digit looks like in one size is found out once, and kept.
class StrokeDigits {
  public:
    explicit StrokeDigits(const QColor& ink) : ink_(ink) {}

    /// Draws the number, its top left corner at that pixel.
    void draw(QPainter& painter, QPoint topLeft, std::string_view digits,
              const DigitMetrics& metrics);

  private:
    struct Size {
        DigitMetrics metrics;
        std::array<QImage, 10> digits; ///< null: not drawn yet
    };
    Size& size(const DigitMetrics& metrics);

    QColor ink_;
    std::vector<Size> sizes_;
};

} // namespace korvel::platform
