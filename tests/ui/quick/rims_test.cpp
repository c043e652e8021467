// How well the drawings are seen on the popover's ground, by their pixels.

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QImage>
#include <QPainterPath>
#include <QPainterPathStroker>

#include "ui/content/contrast.h"
#include "ui/content/popover_sizes.h"
#include "ui/content/shield_mark.h"
#include "ui/content/spark.h"
#include "ui/quick/dial_item.h"
#include "ui/quick/gauge_bar_item.h"
#include "ui/quick/inks.h"
#include "ui/quick/painted.h"
#include "ui/quick/shield_mark_item.h"
#include "ui/quick/spark_item.h"
#include "ui/quick/symbol_item.h"
#include "ui/quick/symbols.h"

namespace korvel {
namespace {

constexpr PopoverLengths kLengths;
constexpr PopoverMarkSizes kMarks;

constexpr double kSeen = 3; ///< the contrast that a drawing is to have
const char* const kColours[] = {"cyan", "pink", "good", "warn", "bad"};
constexpr double kFraction = 0.63;

/// A drawing in its size in the popover.
struct Drawing {
    std::string name;
    std::unique_ptr<TintedItem> item;
    QPainterPath edge;    ///< in the item's coordinates; of a line its middle
    double lineWidth = 0; ///< 0 of what is not a line; a line has its rim outside
    double opacity = 1;   ///< of the colour that the item is given
};

QPainterPath capsule(const QRectF& box) {
    QPainterPath path;
    const double radius = std::min(box.width(), box.height()) / 2;
    path.addRoundedRect(box, radius, radius);
    return path;
}

Drawing bar(const char* name, QSizeF size, double fraction, double opacity) {
    auto item = std::make_unique<GaugeBarItem>();
    item->setSize(size);
    item->setFraction(fraction);
    item->setTrackColour(Qt::transparent);
    const QPainterPath edge = capsule({0, 0, item->fillWidth(), size.height()});
    return {name, std::move(item), edge, 0, opacity};
}

Drawing dial() {
    auto item = std::make_unique<DialItem>();
    item->setSize({kLengths.dialSize, kLengths.dialSize});
    item->setLineWidth(kMarks.dialLineWidth);
    item->setFraction(kFraction);
    item->setTrackColour(Qt::transparent);
    const double side = kLengths.dialSize - kMarks.dialLineWidth;
    const QRectF ring(kMarks.dialLineWidth / 2, kMarks.dialLineWidth / 2, side, side);
    QPainterPath arc;
    arc.arcMoveTo(ring, 90);
    arc.arcTo(ring, 90, -360 * kFraction);
    const QPainterPathStroker wide(QPen(Qt::black, kMarks.dialLineWidth, {}, Qt::RoundCap));
    return {"dial", std::move(item), wide.createStroke(arc)};
}

Drawing symbol(const char* name) {
    auto item = std::make_unique<SymbolItem>();
    item->setName(name);
    item->setSize(kMarks.calmSymbol);
    item->setWidth(item->implicitWidth());
    item->setHeight(item->implicitHeight());
    const double unit = item->width() / kSymbolGrid;
    const QPainterPath body = symbolBody(name);
    const QPainterPath path = body.isEmpty() ? symbolPath(name, SymbolWeight::regular) : body;
    return {name, std::move(item), QTransform::fromScale(unit, unit).map(path)};
}

Drawing shield() {
    auto item = std::make_unique<ShieldMarkItem>();
    item->setSize({kLengths.bannerMark, kLengths.bannerMark});
    const ShieldMark::Strokes strokes = ShieldMark::strokes({item->width(), item->height()});
    const auto at = [](const Point& point) { return QPointF(point.x, point.y); };
    QPainterPath outline(at(strokes.outlineStart));
    for (const ShieldMark::Segment& segment : strokes.outline) {
        outline.cubicTo(at(segment.control1), at(segment.control2), at(segment.to));
    }
    outline.closeSubpath();
    return {"shield", std::move(item), outline, ShieldMark::kOutlineWidth * strokes.scale};
}

Drawing spark(const char* name, const std::function<double(int)>& value) {
    auto item = std::make_unique<SparkItem>();
    item->setWidth(item->implicitWidth());
    item->setHeight(item->implicitHeight());
    QList<qreal> values;
    Spark line;
    for (int i = 0; i < static_cast<int>(Spark::kPoints); ++i) {
        values.append(value(i));
        line.values.push_back(value(i));
    }
    item->setValues(values);
    const Polyline points = line.path(Spark::kFrame);
    QPainterPath path(QPointF(points.front().x, points.front().y));
    for (const Point& point : points) {
        path.lineTo(point.x, point.y);
    }
    path.translate(SparkItem::kOverscan, SparkItem::kOverscan);
    return {name, std::move(item), path, Spark::kLineWidth};
}

std::vector<Drawing> drawings() {
    std::vector<Drawing> all;
    all.push_back(bar("bar", {164, kLengths.barHeight}, kFraction, 1));
    all.push_back(bar("stub", {164, kLengths.barHeight}, 3.0 / 164, 1));
    all.push_back(
        bar("mark", {kLengths.markSize, kLengths.markSize}, 1, PopoverConstants::kMarkOpacity));
    all.push_back(
        bar("dot", {kMarks.bannerDot, kMarks.bannerDot}, 1, PopoverConstants::kBannerDotOpacity));
    all.push_back(dial());
    for (const char* name :
         {"checkmark.circle.fill", "info.circle.fill", "xmark.circle.fill",
          "arrow.down.circle.fill", "exclamationmark.triangle.fill", "cup.and.saucer.fill"}) {
        all.push_back(symbol(name));
    }
    all.push_back(shield());
    all.push_back(spark(
        "busy spark", [](int i) { return 50 + 20 * std::sin(i * 0.7) + 25 * std::sin(i * 2.9); }));
    all.push_back(spark("calm spark", [](int i) { return 50 + std::sin(i * 0.1); }));
    return all;
}

void tint(const Drawing& drawing, const Inks& inks, const QString& colour) {
    QColor fill = inks.fills().of(colour);
    fill.setAlphaF(static_cast<float>(drawing.opacity));
    drawing.item->setColour(fill);
    drawing.item->setRim(inks.rims().of(colour));
}

double contrastAt(const QImage& image, QPoint pixel) {
    const platform::Colour ground = groundColour(Appearance::light);
    const QColor colour = image.pixelColor(pixel);
    const double share = colour.alphaF();
    const auto over = [share](double channel, double below) {
        return channel * share + below * (1 - share);
    };
    return contrastRatio(ground,
                         {over(colour.redF(), ground.red), over(colour.greenF(), ground.green),
                          over(colour.blueF(), ground.blue)});
}

/// The greatest contrast of a pixel at most so many pixels from a point.
double contrastNear(const QImage& image, QPointF point, int reach) {
    const QPoint middle(qFloor(point.x()), qFloor(point.y()));
    const QRect near(middle - QPoint(reach, reach), middle + QPoint(reach, reach));
    double most = 0;
    const QRect inside = near.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            most = std::max(most, contrastAt(image, {x, y}));
        }
    }
    return most;
}

struct EdgeContrast {
    double least = 21;
    double mean = 0;
};

EdgeContrast contrastAlongEdge(const Drawing& drawing, double scale) {
    const QImage image = painted(*drawing.item, scale);
    const bool isLine = drawing.lineWidth > 0;
    const int reach = isLine ? qCeil((drawing.lineWidth / 2 + 1) * scale) : 1;
    EdgeContrast result;
    constexpr int kSamples = 300;
    for (int i = 0; i < kSamples; ++i) {
        const QPointF point = drawing.edge.pointAtPercent(static_cast<double>(i) / kSamples);
        const double contrast = contrastNear(image, point * scale, reach);
        result.least = std::min(result.least, contrast);
        result.mean += contrast / kSamples;
    }
    return result;
}

// A curved line a pixel wide fills some of its pixels by half only, whatever its colour.
TEST(Rims, EveryDrawingInAColourIsSeenOnALightGround) {
    constexpr double kLeastWhereHalfFilled = 2.5;
    const Inks inks(nullptr);
    for (const Drawing& drawing : drawings()) {
        for (const char* colour : kColours) {
            tint(drawing, inks, colour);
            for (const double scale : {1, 2}) {
                const EdgeContrast contrast = contrastAlongEdge(drawing, scale);
                EXPECT_GE(contrast.mean, kSeen)
                    << drawing.name << " in " << colour << " at " << scale;
                EXPECT_GE(contrast.least, kLeastWhereHalfFilled)
                    << drawing.name << " in " << colour << " at " << scale;
            }
        }
    }
}

TEST(Rims, ABarIsSeenAllAlongItsStraightEdges) {
    const Inks inks(nullptr);
    Drawing drawing = bar("bar", {100, kLengths.barHeight}, 1, 1);
    drawing.edge = QPainterPath({2, 0});
    drawing.edge.lineTo(98, 0);
    drawing.edge.moveTo(98, kLengths.barHeight);
    drawing.edge.lineTo(2, kLengths.barHeight);
    for (const char* colour : kColours) {
        tint(drawing, inks, colour);
        for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
            EXPECT_GE(contrastAlongEdge(drawing, scale).least, kSeen) << colour << " at " << scale;
        }
    }
}

TEST(Rims, InADarkPopoverEveryDrawingIsAsWithoutARim) {
    Inks inks(nullptr);
    inks.setDark(true);
    for (const Drawing& drawing : drawings()) {
        for (const char* colour : kColours) {
            tint(drawing, inks, colour);
            const QImage image = painted(*drawing.item, 2);
            drawing.item->setRim(Qt::transparent);
            EXPECT_EQ(image, painted(*drawing.item, 2)) << drawing.name << " in " << colour;
        }
    }
}

TEST(Rims, TheStylesOfInkHaveNone) {
    for (const bool dark : {false, true}) {
        Inks inks(nullptr);
        inks.setDark(dark);
        for (const char* style : {"primary", "secondary", "tertiary"}) {
            EXPECT_EQ(inks.rims().of(style).alpha(), 0) << style;
        }
    }
}

TEST(Rims, OfABarThatIsShorterThanTheyAreWideStayWithinItsFill) {
    for (const double filled : {0.0, 0.5, 1.0}) {
        const Drawing drawing = bar("bar", {100, kLengths.barHeight}, filled / 100, 1);
        tint(drawing, Inks(nullptr), "cyan");
        const QImage image = painted(*drawing.item, 2);
        for (int x = qCeil(2 * filled); x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                ASSERT_EQ(qAlpha(image.pixel(x, y)), 0) << filled << ": " << x << "," << y;
            }
        }
    }
}

/// How many pixels there are whose neighbours all have the image's fullest colour, and how many of
/// them are the same in another image.
std::pair<int, int> coreKept(const QImage& image, const QImage& other, int reach) {
    QRgb fullest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            fullest = qAlpha(image.pixel(x, y)) > qAlpha(fullest) ? image.pixel(x, y) : fullest;
        }
    }
    const auto isCore = [&](int x, int y) {
        for (int dy = -reach; dy <= reach; ++dy) {
            for (int dx = -reach; dx <= reach; ++dx) {
                if (!image.rect().contains(x + dx, y + dy) ||
                    image.pixel(x + dx, y + dy) != fullest) {
                    return false;
                }
            }
        }
        return true;
    };
    std::pair<int, int> counts{0, 0};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isCore(x, y)) {
                counts.first += 1;
                counts.second += image.pixel(x, y) == other.pixel(x, y) ? 1 : 0;
            }
        }
    }
    return counts;
}

TEST(Rims, LeaveTheColourWithinAsItIs) {
    const Inks inks(nullptr);
    for (const Drawing& drawing : drawings()) {
        tint(drawing, inks, "cyan");
        const QImage rimmed = painted(*drawing.item, 4);
        drawing.item->setRim(Qt::transparent);
        const auto [core, kept] =
            coreKept(painted(*drawing.item, 4), rimmed, drawing.lineWidth > 0 ? 1 : 4);
        EXPECT_GT(core, 0) << drawing.name;
        EXPECT_EQ(core, kept) << drawing.name;
    }
}

QRect paintedBounds(const QImage& image) {
    QRect bounds;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return bounds;
}

TEST(Rims, LieInsideOfShapesAndThinAroundLines) {
    const Inks inks(nullptr);
    for (const Drawing& drawing : drawings()) {
        tint(drawing, inks, "cyan");
        const QRect rimmed = paintedBounds(painted(*drawing.item, 4));
        drawing.item->setRim(Qt::transparent);
        const QRect plain = paintedBounds(painted(*drawing.item, 4));
        const int around = drawing.lineWidth > 0 ? 3 : 0; // 0.6 logical pixels
        EXPECT_TRUE(plain.adjusted(-around, -around, around, around).contains(rimmed))
            << drawing.name;
        EXPECT_TRUE(rimmed.contains(plain)) << drawing.name;
    }
}

TEST(Rims, ASignIsInTheirColourWhereThatStandsOutAndElseAHole) {
    const Inks inks(nullptr);
    const Drawing drawing = symbol("info.circle.fill");
    const double pixels = 4 * drawing.item->width() / kSymbolGrid;
    const QPoint inSign = (QPointF(12, 14) * pixels).toPoint();
    for (const char* colour : {"cyan", "good", "warn"}) {
        tint(drawing, inks, colour);
        EXPECT_EQ(painted(*drawing.item, 4).pixelColor(inSign).name(), drawing.item->rim().name())
            << colour;
    }
    tint(drawing, inks, "bad");
    EXPECT_EQ(painted(*drawing.item, 4).pixelColor(inSign).alpha(), 0);
}

} // namespace
} // namespace korvel
