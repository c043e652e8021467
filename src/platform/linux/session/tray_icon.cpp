#include "platform/linux/session/tray_icon.h"

#include <algorithm>
#include <cmath>

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include "platform/linux/session/icon_digits.h"

namespace korvel::platform {

namespace {

constexpr QRgb kInk =
    0xff101418; // near black: a contrast of 6.5:1 or more on each colour of the score

/// Where things stand in a square of a given size, in whole pixels.
struct Layout {
    double radius = 0;
    int digitsTop = 0;
    DigitMetrics digits;
    int cupTop = 0;
    int cupHeight = 0;
};

int rounded(double value) {
    return static_cast<int>(std::lround(value));
}

Layout layoutFor(const QString& digits, bool cup, int pixels) {
    Layout layout;
    layout.radius = pixels * 0.24;
    const auto count = digits.size();
    const int margin = rounded(pixels * (pixels < 20 ? 0.06 : 0.085));
    const int room = pixels - 2 * margin;

    // A height is even or odd as the square's is, so that the number can stand exactly in the
    // middle.
    const auto inTheMiddle = [pixels](double height) {
        const int whole = rounded(height);
        return whole + (pixels - whole) % 2;
    };
    DigitMetrics& m = layout.digits;
    m.gap = std::max(1, rounded(pixels * 0.075));
    if (count > 2) {
        m.height = inTheMiddle(pixels * 0.62);
        m.stroke = std::max(1, rounded(pixels * 0.1));
        m.width =
            (room - 2 * m.gap - digitsWidth(QStringLiteral("100"), {0, m.height, m.stroke, 0})) / 2;
    } else if (count == 2) {
        m.height = inTheMiddle(pixels * 0.62);
        m.stroke = std::max(1, rounded(pixels * 0.125));
        m.width = std::min((room - m.gap) / 2, rounded(pixels * 0.38));
    } else {
        m.height = inTheMiddle(pixels * 0.66);
        m.stroke = std::max(1, rounded(pixels * 0.135));
        m.width = rounded(pixels * 0.44);
    }
    if (cup) {
        m.height = rounded(pixels * 0.48);
        layout.cupHeight = rounded(pixels * 0.22);
        const int between = std::max(1, rounded(pixels * 0.06));
        const int all = m.height + between + layout.cupHeight;
        layout.cupTop = (pixels - all) / 2;
        layout.digitsTop = layout.cupTop + layout.cupHeight + between;
    } else {
        layout.digitsTop = (pixels - m.height) / 2;
    }
    return layout;
}

QColor opaque(const Colour& colour) {
    const auto channel = [](double value) { return rounded(std::clamp(value, 0.0, 1.0) * 255); };
    return {channel(colour.red), channel(colour.green), channel(colour.blue)};
}

/// A cup from the side, with its handle at the right.
void drawCup(QPainter& painter, int pixels, int top, int height, const QColor& ink) {
    const int width = rounded(height * 1.5);
    const int leftPixel = (pixels - width) / 2 - (height > 5 ? 1 : 0);
    const double left = leftPixel;
    QPainterPath bowl;
    bowl.moveTo(left, top);
    bowl.lineTo(left + width, top);
    bowl.lineTo(left + width, top + height * 0.4);
    bowl.quadTo(left + width, top + height, left + width * 0.62, top + height);
    bowl.lineTo(left + width * 0.38, top + height);
    bowl.quadTo(left, top + height, left, top + height * 0.4);
    bowl.closeSubpath();
    painter.fillPath(bowl, ink);
    const double stroke = std::max(1.0, height * 0.2);
    painter.setPen(QPen(ink, stroke));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(
        QRectF(left + width - stroke, top + stroke / 2, height * 0.55, height * 0.5));
}

} // namespace

QImage drawTrayIcon(const StatusTitle& title, int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (pixels < 8) {
        return image;
    }
    const QString digits = QString::number(title.score);
    const Layout layout = layoutFor(digits, title.awake, pixels);
    const QColor ink = QColor::fromRgba(kInk);
    const QColor colour = opaque(title.colour);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // A rim a shade darker keeps the tile's edge on a light panel.
    QPainterPath tile;
    tile.addRoundedRect(QRectF(0, 0, pixels, pixels), layout.radius, layout.radius);
    painter.fillPath(tile, colour.darker(135));
    const double rim = std::max(1.0, std::floor(pixels / 24.0));
    QPainterPath face;
    face.addRoundedRect(QRectF(rim, rim, pixels - 2 * rim, pixels - 2 * rim), layout.radius - rim,
                        layout.radius - rim);
    painter.fillPath(face, colour);

    const int width = digitsWidth(digits, layout.digits);
    const int left = (pixels - width) / 2;
    painter.translate(left, layout.digitsTop);
    drawDigits(painter, digits, layout.digits, ink);
    painter.resetTransform();
    if (title.awake) {
        drawCup(painter, pixels, layout.cupTop, layout.cupHeight, ink);
    }
    return image;
}

namespace {

class TrayIconEngine final : public QIconEngine {
  public:
    explicit TrayIconEngine(StatusTitle title) : title_(std::move(title)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const double scale = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QImage image = drawTrayIcon(title_, rounded(std::min(rect.width(), rect.height()) * scale));
        image.setDevicePixelRatio(scale);
        const QSizeF size = QSizeF(image.size()) / scale;
        painter->drawImage(QPointF(rect.x() + (rect.width() - size.width()) / 2,
                                   rect.y() + (rect.height() - size.height()) / 2),
                           image);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        return QPixmap::fromImage(drawTrayIcon(title_, std::min(size.width(), size.height())));
    }

    /// The sizes that panels draw; a host that is handed all of them need not scale.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }

    bool isNull() override { return false; }
    QIconEngine* clone() const override { return new TrayIconEngine(*this); }

  private:
    StatusTitle title_;
};

} // namespace

QIcon trayIcon(const StatusTitle& title) {
    return QIcon(new TrayIconEngine(title)); // the icon owns its engine
}

} // namespace korvel::platform
