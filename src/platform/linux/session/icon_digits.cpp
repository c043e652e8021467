#include "platform/linux/session/icon_digits.h"

#include <algorithm>
#include <cstddef>

#include <QPainterPath>
#include <QPainterPathStroker>
#include <QRect>
#include <QRectF>

namespace korvel::platform {

namespace {

/// Half of it in whole pixels.
int halfDown(int pixels) {
    return pixels / 2;
}

/// The lines along which the middle of a stroke runs within one digit.
struct Skeleton {
    double left = 0;
    double right = 0;
    double top = 0;
    double bottom = 0;
    double middle = 0; ///< of the upper and the lower half's common bar
    double radius = 0;

    explicit Skeleton(const DigitMetrics& m)
        : left(m.stroke / 2.0), right(m.width - left), top(left), bottom(m.height - left),
          middle(halfDown(m.height - m.stroke) + left),
          radius(std::min({(right - left) / 2, (middle - top) / 2, m.stroke * 1.0})) {}

    QRectF corner(double x, double y) const { return {x, y, 2 * radius, 2 * radius}; }
    QRectF topLeft(double y) const { return corner(left, y); }
    QRectF topRight(double y) const { return corner(right - 2 * radius, y); }
    QRectF bottomLeft(double y) const { return corner(left, y - 2 * radius); }
    QRectF bottomRight(double y) const { return corner(right - 2 * radius, y - 2 * radius); }

    QPainterPath bowl(double upper, double lower) const {
        QPainterPath path;
        path.addRoundedRect(QRectF(QPointF(left, upper), QPointF(right, lower)), radius, radius);
        return path;
    }
};

/// The outline of a 1: a stem at the right with a flag down to the left edge.
QPainterPath one(const DigitMetrics& m) {
    const double stem = m.oneWidth - m.stroke;
    const double drop = std::min(stem * 0.6, m.height / 4.0);
    QPainterPath path(QPointF(stem, 0));
    path.lineTo(m.oneWidth, 0);
    path.lineTo(m.oneWidth, m.height);
    path.lineTo(stem, m.height);
    path.lineTo(stem, m.stroke * 1.2);
    path.lineTo(0, drop + m.stroke * 1.2);
    path.lineTo(0, drop);
    path.closeSubpath();
    return path;
}

QPainterPath skeletonOf(char digit, const DigitMetrics& m) {
    const Skeleton s(m);
    QPainterPath path;
    switch (digit) {
    case '0':
        return s.bowl(s.top, s.bottom);
    case '2':
        path.moveTo(s.left, s.top + 1.5 * s.radius);
        path.lineTo(s.left, s.top + s.radius);
        path.arcTo(s.topLeft(s.top), 180, -90);
        path.lineTo(s.right - s.radius, s.top);
        path.arcTo(s.topRight(s.top), 90, -90);
        path.lineTo(s.right, s.middle - s.radius * 0.5);
        path.lineTo(s.left, s.bottom);
        path.lineTo(m.width, s.bottom);
        return path;
    case '3':
        path.moveTo(0, s.top);
        path.lineTo(s.right - s.radius, s.top);
        path.arcTo(s.topRight(s.top), 90, -90);
        path.lineTo(s.right, s.middle - s.radius);
        path.arcTo(s.bottomRight(s.middle), 0, -90);
        path.lineTo(s.left + s.radius, s.middle);
        path.moveTo(s.right - s.radius, s.middle);
        path.arcTo(s.topRight(s.middle), 90, -90);
        path.lineTo(s.right, s.bottom - s.radius);
        path.arcTo(s.bottomRight(s.bottom), 0, -90);
        path.lineTo(0, s.bottom);
        return path;
    case '4': {
        const int drop = (m.height - m.stroke) / 5;
        const double bar = s.middle + drop;
        const double stem = s.right - (m.width >= 7 ? halfDown(m.stroke) : 0);
        path.moveTo(stem, m.height);
        path.lineTo(stem, 0);
        path.moveTo(stem, -s.top);
        path.lineTo(s.left, bar);
        path.lineTo(m.width, bar);
        return path;
    }
    case '5':
        path.moveTo(m.width, s.top);
        path.lineTo(s.left, s.top);
        path.lineTo(s.left, s.middle);
        path.lineTo(s.right - s.radius, s.middle);
        path.arcTo(s.topRight(s.middle), 90, -90);
        path.lineTo(s.right, s.bottom - s.radius);
        path.arcTo(s.bottomRight(s.bottom), 0, -90);
        path.lineTo(0, s.bottom);
        return path;
    case '6':
        path = s.bowl(s.middle, s.bottom);
        path.moveTo(s.left, s.bottom - s.radius);
        path.lineTo(s.left, s.top + s.radius);
        path.arcTo(s.topLeft(s.top), 180, -90);
        path.lineTo(m.width - m.stroke / 2.0, s.top);
        return path;
    case '7':
        path.moveTo(0, s.top);
        path.lineTo(s.right, s.top);
        path.lineTo(s.left + (s.right - s.left) * 0.2, m.height + s.top);
        return path;
    case '8':
        path = s.bowl(s.top, s.middle);
        path.addPath(s.bowl(s.middle, s.bottom));
        return path;
    case '9':
        path = s.bowl(s.top, s.middle);
        path.moveTo(s.right, s.top + s.radius);
        path.lineTo(s.right, s.bottom - s.radius);
        path.arcTo(s.bottomRight(s.bottom), 0, -90);
        path.lineTo(m.stroke / 2.0, s.bottom);
        return path;
    default:
        return path;
    }
}

int widthOf(char digit, const DigitMetrics& m) {
    return digit == '1' ? m.oneWidth : m.width;
}

/// The digit alone, on nothing. The picture's edges cut slanted ends flush.
QImage drawDigit(char digit, const DigitMetrics& m, const QColor& ink) {
    QPainterPathStroker stroker;
    stroker.setWidth(m.stroke);
    stroker.setCapStyle(Qt::FlatCap);
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setCurveThreshold(0.1);
    QPainterPath outline = digit == '1' ? one(m) : stroker.createStroke(skeletonOf(digit, m));
    outline.setFillRule(Qt::WindingFill);
    QImage image(widthOf(digit, m), m.height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(outline, ink);
    return image;
}

} // namespace

int digitsWidth(std::string_view digits, const DigitMetrics& metrics) {
    int width = -metrics.gap;
    for (const char digit : digits) {
        width += widthOf(digit, metrics) + metrics.gap;
    }
    return width;
}

StrokeDigits::Size& StrokeDigits::size(const DigitMetrics& metrics) {
    const auto found = std::find_if(sizes_.begin(), sizes_.end(),
                                    [&](const Size& size) { return size.metrics == metrics; });
    if (found != sizes_.end()) {
        return *found;
    }
    sizes_.push_back({metrics, {}});
    return sizes_.back();
}

void StrokeDigits::draw(QPainter& painter, QPoint topLeft, std::string_view digits,
                        const DigitMetrics& metrics) {
    Size& pictures = size(metrics);
    for (const char digit : digits) {
        QImage& picture = pictures.digits.at(static_cast<std::size_t>(digit - '0'));
        if (picture.isNull()) {
            picture = drawDigit(digit, metrics, ink_);
        }
        painter.drawImage(topLeft, picture);
        topLeft.rx() += picture.width() + metrics.gap;
    }
}

} // namespace korvel::platform
