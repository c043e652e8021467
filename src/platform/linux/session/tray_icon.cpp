#include "platform/linux/session/tray_icon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include "platform/linux/session/pixel_digits.h"

namespace korvel::platform {

namespace {

// Near black: a contrast of 6.5:1 or more on each colour of the score.
constexpr QRgb kInk = 0xff080a0c;

constexpr int kLarge = 40;   // pixels
constexpr int kSmallest = 8; // pixels

int rounded(double value) {
    return static_cast<int>(std::lround(value));
}

/// The sizes of digits in strokes in a square of so many pixels. What is as even or odd as the
/// square can stand exactly in its middle: the height, the gap of a pair, the width of a single
/// digit, the 1 of 100. In a pair a 1 is narrower than another digit by an even number. Large ones
/// are those of half the size doubled: some hosts take the largest picture and halve it, and then
/// strokes lie on whole pixels again.
DigitMetrics strokesFor(std::size_t count, int pixels) {
    if (pixels >= kLarge && pixels % 2 == 0) {
        const DigitMetrics half = strokesFor(count, pixels / 2);
        return {.width = 2 * half.width,
                .oneWidth = 2 * half.oneWidth,
                .height = 2 * half.height,
                .stroke = 2 * half.stroke,
                .gap = 2 * half.gap};
    }
    const auto likeSquare = [pixels](double size) {
        const int whole = static_cast<int>(size);
        return whole + (pixels - whole) % 2;
    };
    const auto oneBeside = [](int width, int stroke) {
        const int one = std::max(stroke, width * 3 / 5);
        return std::min(width, one + (width - one) % 2);
    };
    DigitMetrics m;
    m.height = likeSquare(pixels * 0.62);
    if (count > 2) {
        const int room = pixels - 2 * std::max(1, rounded(pixels * 0.085));
        m.stroke = std::max(1, rounded(pixels * 0.09));
        m.gap = std::max(1, rounded(pixels * 0.055));
        m.oneWidth = likeSquare(m.stroke * 1.6);
        m.width = (room - m.oneWidth - 2 * m.gap) / 2;
    } else if (count == 2) {
        const int room = pixels - 2 * std::max(1, rounded(pixels * 0.12));
        m.stroke = std::max(1, rounded(pixels * 0.1));
        m.gap = likeSquare(std::max(1.0, pixels * 0.07));
        m.width = (room - m.gap) / 2;
        m.oneWidth = oneBeside(m.width, m.stroke);
    } else {
        m.stroke = std::max(1, rounded(pixels * 0.125));
        m.width = likeSquare(pixels * 0.4);
        m.oneWidth = oneBeside(m.width, m.stroke);
    }
    return m;
}

QColor opaque(const Colour& colour) {
    const auto channel = [](double value) { return rounded(std::clamp(value, 0.0, 1.0) * 255); };
    return {channel(colour.red), channel(colour.green), channel(colour.blue)};
}

/// A rounded square, that much smaller than the picture on each side.
QPainterPath plainTile(double pixels, double inset) {
    const double side = pixels - 2 * inset;
    const double radius = pixels * 0.24 - inset;
    QPainterPath path;
    path.addRoundedRect(QRectF(inset, inset, side, side), radius, radius);
    return path;
}

/// The tile as a cup from the side: nearly square above, round below, and so low that its saucer
/// has room under it. It has as much room for the number as the plain tile.
QPainterPath cupTile(double pixels, double bottom, double inset) {
    const double left = inset;
    const double right = pixels - inset;
    const double low = bottom - inset;
    const double above = 2 * std::max(0.0, pixels * 0.08 - inset);
    const double below = 2 * std::max(0.0, pixels * 0.28 - inset);
    QPainterPath path(QPointF(left, low - below / 2));
    path.arcTo(left, inset, above, above, 180, -90);
    path.arcTo(right - above, inset, above, above, 90, -90);
    path.arcTo(right - below, low - below, below, below, 0, -90);
    path.arcTo(left, low - below, below, below, 270, -90);
    path.closeSubpath();
    return path;
}

/// A plate under the cup, as wide as the picture.
void drawSaucer(QPainter& painter, int pixels, int height, const QColor& face, const QColor& rim) {
    const int top = pixels - height;
    const int slant = height - 1;
    QPainterPath plate(QPointF(0, top));
    plate.lineTo(pixels, top);
    plate.lineTo(pixels, top + 1);
    plate.lineTo(pixels - slant, pixels);
    plate.lineTo(slant, pixels);
    plate.lineTo(0, top + 1);
    plate.closeSubpath();
    painter.fillPath(plate, rim);
    painter.fillRect(QRect(slant, top, pixels - 2 * slant, height - height / 2), face);
}

void drawTile(QPainter& painter, int pixels, bool cup, const QColor& colour) {
    // A rim a shade darker keeps the tile's edge on a light panel.
    const QColor shade = colour.darker(135);
    const double rim = std::max(1.0, std::floor(pixels / 24.0));
    if (!cup) {
        painter.fillPath(plainTile(pixels, 0), shade);
        painter.fillPath(plainTile(pixels, rim), colour);
        return;
    }
    const int saucer = std::max(1, rounded(pixels * 0.07));
    painter.fillPath(cupTile(pixels, pixels - saucer, 0), shade);
    // Darker still where it stands, so that cup and saucer are two things at any size.
    painter.setClipRect(QRectF(0, pixels - saucer - rim, pixels, rim));
    painter.fillPath(cupTile(pixels, pixels - saucer, 0), colour.darker(240));
    painter.setClipping(false);
    painter.fillPath(cupTile(pixels, pixels - saucer, rim), colour);
    drawSaucer(painter, pixels, saucer, colour, shade);
}

} // namespace

TrayIconPainter::TrayIconPainter() : digits_(QColor::fromRgb(kInk)) {}

QImage TrayIconPainter::draw(const StatusTitle& title, int pixels) {
    QImage image = tile(title, pixels);
    if (pixels >= kSmallest) {
        drawNumber(image, std::to_string(std::clamp<std::int64_t>(title.score, 0, 100)));
    }
    return image;
}

QImage TrayIconPainter::tile(const StatusTitle& title, int pixels) {
    std::vector<QImage>& tiles = tilesOf({.colour = title.colour, .awake = title.awake}).pictures;
    const auto found = std::find_if(tiles.begin(), tiles.end(), [pixels](const QImage& tile) {
        return tile.width() == pixels;
    });
    if (found != tiles.end()) {
        return *found;
    }
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (pixels >= kSmallest) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        drawTile(painter, pixels, title.awake, opaque(title.colour));
    }
    tiles.push_back(image);
    return image;
}

TrayIconPainter::Tiles& TrayIconPainter::tilesOf(const Face& face) {
    constexpr std::size_t kMostFaces = 3; // of 24 KB each in the sizes of a tray
    const auto found = std::find_if(kept_.begin(), kept_.end(),
                                    [&face](const Tiles& tiles) { return tiles.face == face; });
    if (found != kept_.end()) {
        std::rotate(kept_.begin(), found, found + 1);
        return kept_.front();
    }
    if (kept_.size() == kMostFaces) {
        kept_.pop_back();
    }
    return *kept_.insert(kept_.begin(), Tiles{.face = face, .pictures = {}});
}

void TrayIconPainter::drawNumber(QImage& image, std::string_view digits) {
    if (drawPixelNumber(image, digits, kInk)) {
        return;
    }
    const int pixels = image.width();
    const DigitMetrics metrics = strokesFor(digits.size(), pixels);
    QPainter painter(&image);
    digits_.draw(painter,
                 {(pixels - digitsWidth(digits, metrics)) / 2, (pixels - metrics.height) / 2},
                 digits, metrics);
}

QImage drawTrayIcon(const StatusTitle& title, int pixels) {
    return TrayIconPainter().draw(title, pixels);
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
