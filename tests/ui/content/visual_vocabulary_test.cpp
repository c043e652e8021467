#include <cmath>
#include <csignal>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ui/content/palette.h"
#include "ui/content/popover_height.h"
#include "ui/content/row.h"
#include "ui/content/shield_mark.h"
#include "ui/content/spark.h"

namespace korvel {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Palette, HasItsFiveColoursExactly) {
    EXPECT_EQ(rgb(Ink::cyan), (platform::Colour{0.22, 0.88, 1.0}));
    EXPECT_EQ(rgb(Ink::pink), (platform::Colour{1.0, 0.24, 0.56}));
    EXPECT_EQ(rgb(Ink::good), (platform::Colour{0.31, 0.85, 0.51}));
    EXPECT_EQ(rgb(Ink::warn), (platform::Colour{1.0, 0.72, 0.30}));
    EXPECT_EQ(rgb(Ink::bad), (platform::Colour{1.0, 0.36, 0.36}));
}

TEST(Palette, StylesHaveNoColourOfTheirOwn) {
    for (const Ink style : {Ink::primary, Ink::secondary, Ink::tertiary}) {
        EXPECT_EXIT(rgb(style), testing::KilledBySignal(SIGABRT), "^$") << name(style);
    }
}

TEST(Palette, EachInkHasItsName) {
    const std::pair<Ink, const char*> rows[] = {
        {Ink::cyan, "cyan"},           {Ink::pink, "pink"},        {Ink::good, "good"},
        {Ink::warn, "warn"},           {Ink::bad, "bad"},          {Ink::primary, "primary"},
        {Ink::secondary, "secondary"}, {Ink::tertiary, "tertiary"}};
    for (const auto& [ink, text] : rows) {
        EXPECT_EQ(name(ink), text);
    }
}

TEST(Palette, ScoreColourChangesAt72And55) {
    const struct {
        std::int64_t score;
        Ink colour;
    } rows[] = {{100, Ink::good}, {73, Ink::good}, {72, Ink::good}, {71, Ink::warn},
                {56, Ink::warn},  {55, Ink::warn}, {54, Ink::bad},  {53, Ink::bad},
                {0, Ink::bad},    {-1, Ink::bad},  {-100, Ink::bad}};
    for (const auto& row : rows) {
        EXPECT_EQ(scoreColor(row.score), row.colour) << row.score;
    }
}

TEST(Palette, GaugeThresholdsAreInclusiveAndTheCriticalOneComesFirst) {
    const struct {
        const char* what;
        double value;
        double warnAt;
        double critAt;
        Ink colour;
    } rows[] = {
        {"just below warn", std::nextafter(80.0, 0.0), 80, 90, Ink::good},
        {"at warn", 80, 80, 90, Ink::warn},
        {"just above warn", std::nextafter(80.0, 100.0), 80, 90, Ink::warn},
        {"just below critical", std::nextafter(90.0, 0.0), 80, 90, Ink::warn},
        {"at critical", 90, 80, 90, Ink::bad},
        {"above critical", 250, 80, 90, Ink::bad},
        {"thresholds the wrong way round", 85, 90, 80, Ink::bad},
        {"not a number", kNaN, 80, 90, Ink::good},
        {"infinite", kInfinity, 80, 90, Ink::bad},
        {"negative", -5, 80, 90, Ink::good},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(gaugeTint(row.value, row.warnAt, row.critAt), row.colour) << row.what;
    }
}

TEST(ShieldMark, FillsAFrameOfItsGrid) {
    const ShieldMark::Strokes strokes = ShieldMark::strokes({48, 48});
    EXPECT_EQ(strokes.scale, 1);
    EXPECT_EQ(strokes.outlineStart, (Point{24, 5}));
    ASSERT_EQ(strokes.outline.size(), 5u);
    EXPECT_EQ(strokes.outline[0].to, (Point{9, 10.5}));
    EXPECT_EQ(strokes.outline[1].to, (Point{9, 23.3}));
    EXPECT_EQ(strokes.outline[2].control1, (Point{9, 32}));
    EXPECT_EQ(strokes.outline[2].control2, (Point{15.4, 39.3}));
    EXPECT_EQ(strokes.outline[2].to, (Point{24, 42.5}));
    EXPECT_EQ(strokes.outline[3].control1, (Point{32.6, 39.3}));
    EXPECT_EQ(strokes.outline[3].control2, (Point{39, 32}));
    EXPECT_EQ(strokes.outline[3].to, (Point{39, 23.3}));
    EXPECT_EQ(strokes.outline[4].to, (Point{39, 10.5}));
    // A straight line's control points are its ends.
    for (const std::size_t line : {0u, 1u, 4u}) {
        const Point from = line == 0 ? strokes.outlineStart : strokes.outline[line - 1].to;
        EXPECT_EQ(strokes.outline[line].control1, from) << line;
        EXPECT_EQ(strokes.outline[line].control2, strokes.outline[line].to) << line;
    }
    EXPECT_THAT(strokes.trace,
                testing::ElementsAre(Point{14.5, 24.5}, Point{19.3, 24.5}, Point{22.7, 17},
                                     Point{26.7, 32}, Point{29.7, 24.5}, Point{33.7, 24.5}));
}

TEST(ShieldMark, IsStrokedInGridUnits) {
    EXPECT_EQ(ShieldMark::kOutlineWidth, 3.4);
    EXPECT_EQ(ShieldMark::kTraceWidth, 3.8);
    EXPECT_EQ(ShieldMark::kMiterLimit, 10);
    EXPECT_EQ(ShieldMark().colour, Ink::cyan);
}

TEST(ShieldMark, IsScaledByTheShorterSideAndCentred) {
    const ShieldMark::Strokes wide = ShieldMark::strokes({96, 24});
    EXPECT_EQ(wide.scale, 0.5);
    EXPECT_EQ(wide.outlineStart, (Point{36 + 12, 2.5}));
    const ShieldMark::Strokes tall = ShieldMark::strokes({24, 96});
    EXPECT_EQ(tall.scale, 0.5);
    EXPECT_EQ(tall.outlineStart, (Point{12, 36 + 2.5}));
}

History cpuHistory(const std::vector<double>& values) {
    History history;
    for (const double value : values) {
        history.emplace_back(0, value, 0);
    }
    return history;
}

Polyline sparkLine(const std::vector<double>& values, Size size = Spark::kFrame) {
    return Spark(cpuHistory(values), Ink::cyan, [](const HistoryPoint& point) { return point.cpu; })
        .path(size);
}

TEST(Spark, DrawsNothingForFewerThanTwoPoints) {
    EXPECT_TRUE(sparkLine({}).empty());
    EXPECT_TRUE(sparkLine({50}).empty());
    EXPECT_EQ(sparkLine({50, 50}).size(), 2u);
}

TEST(Spark, SpreadsItsPointsOverTheWholeWidthWhateverTheirCount) {
    for (const std::size_t count : {2u, 3u, 59u, 60u}) {
        const Polyline line = sparkLine(std::vector<double>(count, 50));
        ASSERT_EQ(line.size(), count);
        EXPECT_EQ(line.front().x, 0);
        EXPECT_DOUBLE_EQ(line.back().x, 44) << count;
        EXPECT_DOUBLE_EQ(line[1].x, 44.0 / static_cast<double>(count - 1)) << count;
    }
}

TEST(Spark, KeepsTheNewestSixtyPointsByCount) {
    std::vector<double> values(40, 100); // too old to be drawn
    values.resize(100, 30);
    const Polyline line = sparkLine(values);
    ASSERT_EQ(line.size(), 60u);
    for (const Point& point : line) {
        EXPECT_EQ(point.y, 0) << "scaled by a point that is not drawn";
    }
    EXPECT_DOUBLE_EQ(line.back().x, 44);
}

TEST(Spark, ScalesByItsLargestValueButNeverByLessThanTwenty) {
    const struct {
        const char* what;
        std::vector<double> values;
        double lastY;
    } rows[] = {
        {"quiet", {5, 10}, 7},
        {"at twenty", {5, 20}, 0},
        {"just above twenty", {5, 25}, 0},
        {"half of the largest", {80, 40}, 7},
        {"zero", {0, 0}, 14},
        {"below zero falls under the box", {10, -10}, 21},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(sparkLine(row.values).back().y, row.lastY) << row.what;
    }
}

TEST(Spark, TakesTheQuantityItIsAskedFor) {
    const History history{{0, 10, 100}, {5, 20, 50}};
    const Spark spark(history, Ink::pink, [](const HistoryPoint& point) { return point.mem; });
    EXPECT_THAT(spark.values, testing::ElementsAre(100, 50));
    EXPECT_EQ(spark.colour, Ink::pink);
}

TEST(Spark, IsStrokedThinly) {
    EXPECT_EQ(Spark::kLineWidth, 1.3);
    EXPECT_EQ(Spark::kMiterLimit, 10);
    EXPECT_EQ(Spark::kOpacity, 0.85);
    EXPECT_EQ(Spark::kFrame.width, 44);
    EXPECT_EQ(Spark::kFrame.height, 14);
}

TEST(Row, TruncatesItsPercentageTowardZero) {
    const struct {
        double pct;
        const char* text;
    } rows[] = {{0, "0%"},     {0.99, "0%"},  {-0.5, "0%"},   {-1.5, "-1%"},
                {49.9, "49%"}, {49, "49%"},   {50, "50%"},    {99.999, "99%"},
                {100, "100%"}, {150, "150%"}, {150.9, "150%"}};
    for (const auto& row : rows) {
        EXPECT_EQ((Row{"X", row.pct, "", Ink::good, {}}).percentText(), row.text) << row.pct;
    }
}

TEST(Row, FillsItsBarByThePercentageUpToTheWhole) {
    const struct {
        double pct;
        double fraction;
    } rows[] = {{0, 0}, {25, 0.25}, {99.5, 0.995}, {100, 1}, {150, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ((Row{"X", row.pct, "", Ink::good, {}}).barFraction(), row.fraction) << row.pct;
    }
}

TEST(RowDeathTest, DiesOfAPercentageThatIsNoNumber) {
    for (const double pct : {kNaN, kInfinity, -kInfinity}) {
        const Row row{"X", pct, "", Ink::good, {}};
        EXPECT_DEATH(row.percentText(), "") << pct;
    }
}

TEST(PopoverSize, IsTheVisibleHeightLessSixtyButNeverUnder420) {
    const struct {
        std::optional<double> visible;
        double maximum;
    } rows[] = {{900, 840}, {481, 421}, {480, 420},         {479, 420},
                {400, 420}, {0, 420},   {std::nullopt, 740}};
    for (const auto& row : rows) {
        EXPECT_EQ(popoverMaximumHeight(row.visible), row.maximum) << row.visible.value_or(-1);
    }
}

} // namespace
} // namespace korvel
