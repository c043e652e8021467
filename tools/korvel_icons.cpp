// korvel-icons OUT.icns: the icon of the macOS bundle, in every size that the system asks for, each
// drawn for itself from the program's badge.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <QBuffer>
#include <QByteArray>
#include <QColorSpace>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QSaveFile>

#include <fmt/format.h>

#include "ui/content/palette.h"
#include "ui/content/shield_mark.h"

namespace {

using korvel::ShieldMark;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Of the system's template for icons: the ground's side on a canvas of 1024, and the radius of its
// corners as a share of that side.
constexpr double kGroundShare = 824.0 / 1024;
constexpr double kCornerShare = 185.4 / 824;
// The side of the badge's grid as a share of the ground's. In the smallest size its lines would be
// thinner than a pixel.
constexpr double kMarkShare = 0.8;
constexpr double kSmallestMarkShare = 1;
constexpr double kSmallestGround = 16;

enum class Encoding { png, argb };

/// One entry of the file: its type, and the side of its picture in pixels.
struct Entry {
    std::string_view type;
    int side;
    Encoding encoding;
};

// Finder shows the two small ones of a bundle as noise when they are PNG; it takes all others as
// nothing else.
constexpr std::array kEntries = {
    Entry{"ic04", 16, Encoding::argb},  // 16
    Entry{"ic11", 32, Encoding::png},   // 16@2x
    Entry{"ic05", 32, Encoding::argb},  // 32
    Entry{"ic12", 64, Encoding::png},   // 32@2x
    Entry{"ic07", 128, Encoding::png},  // 128
    Entry{"ic13", 256, Encoding::png},  // 128@2x
    Entry{"ic08", 256, Encoding::png},  // 256
    Entry{"ic14", 512, Encoding::png},  // 256@2x
    Entry{"ic09", 512, Encoding::png},  // 512
    Entry{"ic10", 1024, Encoding::png}, // 512@2x
};

QPointF at(const korvel::Point& point) {
    return {point.x, point.y};
}

QColor cyan(double alpha) {
    const korvel::platform::Colour colour = rgb(ShieldMark().colour);
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue), static_cast<float>(alpha));
}

/// Dark in light and in dark surroundings; the rim keeps it apart from a dark window.
void drawGround(QPainter& painter, const QRectF& ground) {
    const double radius = ground.width() * kCornerShare;
    QLinearGradient fill(ground.topLeft(), ground.bottomLeft());
    fill.setColorAt(0, QColor(0x24, 0x32, 0x40));
    fill.setColorAt(1, QColor(0x0b, 0x11, 0x18));
    QPainterPath shape;
    shape.addRoundedRect(ground, radius, radius);
    painter.fillPath(shape, fill);

    QRadialGradient glow(ground.center(), ground.width() / 2);
    glow.setColorAt(0, cyan(0.16));
    glow.setColorAt(1, cyan(0));
    painter.fillPath(shape, glow);

    const double width = std::max(0.5, ground.width() / 206);
    QLinearGradient light(ground.topLeft(), ground.bottomLeft());
    light.setColorAt(0, QColor(255, 255, 255, 64));
    light.setColorAt(1, QColor(255, 255, 255, 44));
    const double in = width / 2;
    QPainterPath rim;
    rim.addRoundedRect(ground.adjusted(in, in, -in, -in), radius - in, radius - in);
    painter.setCompositionMode(QPainter::CompositionMode_SourceAtop); // nothing outside the shape
    painter.strokePath(rim, QPen(QBrush(light), width));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

/// The side of the grid with which both sides of the shield end on whole pixels, nearest to
/// `wanted`.
double crispGrid(double wanted, double outlineStartX, double leftX) {
    const double units = outlineStartX - leftX + ShieldMark::kOutlineWidth / 2;
    return std::round(units * wanted / ShieldMark::kGrid) * ShieldMark::kGrid / units;
}

void drawMark(QPainter& painter, const QRectF& ground) {
    const ShieldMark::Strokes unit = ShieldMark::strokes({ShieldMark::kGrid, ShieldMark::kGrid});
    const double share = ground.width() < kSmallestGround ? kSmallestMarkShare : kMarkShare;
    const double grid =
        crispGrid(ground.width() * share, unit.outlineStart.x, unit.outline.front().to.x);
    const ShieldMark::Strokes strokes = ShieldMark::strokes({grid, grid});
    QPainterPath outline(at(strokes.outlineStart));
    for (const ShieldMark::Segment& segment : strokes.outline) {
        outline.cubicTo(at(segment.control1), at(segment.control2), at(segment.to));
    }
    outline.closeSubpath();
    QPainterPath trace(at(strokes.trace.front()));
    for (const korvel::Point& point : strokes.trace) {
        trace.lineTo(at(point));
    }
    painter.translate(ground.center() - QPointF(grid / 2, grid / 2));
    const auto stroke = [&](const QPainterPath& path, double units, Qt::PenCapStyle cap) {
        painter.strokePath(path,
                           QPen(cyan(1), units * strokes.scale, Qt::SolidLine, cap, Qt::RoundJoin));
    };
    stroke(outline, ShieldMark::kOutlineWidth, Qt::FlatCap);
    stroke(trace, ShieldMark::kTraceWidth, Qt::RoundCap);
}

QImage drawIcon(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setColorSpace(QColorSpace::SRgb);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // In whole pixels, so that the edges of the ground are sharp in the small sizes.
    const double margin = std::floor(side * (1 - kGroundShare) / 2);
    const QRectF ground(margin, margin, side - 2 * margin, side - 2 * margin);
    drawGround(painter, ground);
    drawMark(painter, ground);
    return image;
}

/// Empty when the picture cannot be encoded.
QByteArray asPng(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") ? bytes : QByteArray();
}

/// Runs of three to 130 equal bytes as two, what is between them as it is, up to 128 bytes at a
/// time.
void appendPacked(QByteArray& out, const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kShortestRun = 3;
    constexpr std::size_t kLongestRun = 130;
    constexpr std::size_t kMostPlain = 128;
    const auto put = [&](std::size_t byte) { out.append(static_cast<char>(byte)); };
    const auto runAt = [&](std::size_t start) {
        std::size_t end = start;
        while (end < bytes.size() && bytes[end] == bytes[start] && end - start < kLongestRun) {
            ++end;
        }
        return end - start;
    };
    std::size_t next = 0;
    while (next < bytes.size()) {
        if (const std::size_t run = runAt(next); run >= kShortestRun) {
            put(0x80 + run - kShortestRun);
            put(bytes[next]);
            next += run;
            continue;
        }
        std::size_t end = next + 1;
        while (end < bytes.size() && end - next < kMostPlain && runAt(end) < kShortestRun) {
            ++end;
        }
        put(end - next - 1);
        for (; next < end; ++next) {
            put(bytes[next]);
        }
    }
}

/// The four channels one after the other, each packed for itself; colours not multiplied by alpha.
QByteArray asArgb(const QImage& image) {
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
    QByteArray bytes("ARGB");
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        std::vector<std::uint8_t> channel;
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x) {
                channel.push_back(static_cast<std::uint8_t>(plain.pixel(x, y) >> shift));
            }
        }
        appendPacked(bytes, channel);
    }
    return bytes;
}

/// A block of the file: its type, its length with these eight bytes, and what is in it.
void appendBlock(QByteArray& out, std::string_view type, const QByteArray& content) {
    out.append(type.data(), static_cast<qsizetype>(type.size()));
    const auto length = static_cast<std::uint32_t>(8 + content.size());
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        out.append(static_cast<char>(length >> shift));
    }
    out.append(content);
}

int complain(std::string_view text, int status) {
    fmt::print(stderr, "korvel-icons: {}\n", text);
    return status;
}

int writeIcons(const char* path) {
    QByteArray entries;
    for (const Entry& entry : kEntries) {
        const QImage icon = drawIcon(entry.side);
        const QByteArray content = entry.encoding == Encoding::png ? asPng(icon) : asArgb(icon);
        if (content.isEmpty()) {
            return complain("the pictures cannot be encoded as PNG", kFailed);
        }
        appendBlock(entries, entry.type, content);
    }
    QByteArray bytes;
    appendBlock(bytes, "icns", entries);
    QSaveFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        return complain(
            fmt::format("{}: cannot be written: {}", path, file.errorString().toStdString()),
            kFailed);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return argc == 2 ? writeIcons(argv[1]) : complain("usage: korvel-icons OUT.icns", kWrongUsage);
}
