// What the drawings paint, seen in their pixels.

#include <cmath>

#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QImage>
#include <QQuickWindow>

#include "ui/quick/digits_item.h"
#include "ui/quick/gauge_bar_item.h"
#include "ui/quick/inks.h"
#include "ui/quick/painted.h"
#include "ui/quick/plate_item.h"
#include "ui/quick/shadow_item.h"
#include "ui/quick/shield_mark_item.h"
#include "ui/quick/spark_item.h"
#include "ui/quick/symbols.h"

namespace korvel {
namespace {

int paintedPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
        }
    }
    return count;
}

class CountedDrawing : public TintedItem {
  public:
    using TintedItem::TintedItem;
    void paint(QPainter*) override { ++painted; }

    int painted = 0;
};

TEST(Drawings, ArePaintedAnewForAnotherValueAndForNothingElse) {
    QQuickWindow window;
    window.show();
    CountedDrawing drawing(window.contentItem());
    drawing.setSize({10, 10});
    const auto paintedBy = [&](const QColor& colour) {
        const int before = drawing.painted;
        drawing.setColour(colour);
        window.grabWindow();
        return drawing.painted - before;
    };
    paintedBy(Qt::red);
    EXPECT_EQ(paintedBy(Qt::red), 0);
    EXPECT_EQ(paintedBy(Qt::blue), 1);
    EXPECT_EQ(paintedBy(Qt::blue), 0);
}

TEST(GaugeBars, FillTheirShareButNeverLessThanTheStub) {
    GaugeBarItem bar;
    bar.setSize({164, 4});
    bar.setShortest(3);
    const struct {
        double fraction;
        double width;
    } rows[] = {{0, 3}, {0.01, 3}, {0.5, 82}, {1, 164}, {-0.2, 3}};
    for (const auto& row : rows) {
        bar.setFraction(row.fraction);
        EXPECT_DOUBLE_EQ(bar.fillWidth(), row.width) << row.fraction;
    }
}

TEST(GaugeBars, HaveRoundEnds) {
    GaugeBarItem bar;
    bar.setSize({40, 4});
    bar.setColour(Qt::red);
    bar.setTrackColour(Qt::blue);
    bar.setFraction(0.5);
    const QImage image = painted(bar);
    EXPECT_LT(image.pixelColor(0, 0).alpha(), 200);
    EXPECT_LT(image.pixelColor(39, 3).alpha(), 200);
    EXPECT_TRUE(near(image.pixelColor(10, 2), Qt::red));
    EXPECT_TRUE(near(image.pixelColor(30, 2), Qt::blue));
}

class Plates : public testing::Test {
  protected:
    Plates() {
        plate.setSize({40, 30});
        plate.setColour(Qt::red);
        plate.setBorderColour(Qt::blue);
        plate.setBorderWidth(2);
        plate.setRadius(8);
    }

    PlateItem plate;
};

TEST_F(Plates, HaveABorderOfOneWidthAlongTheirInside) {
    const QImage image = painted(plate);
    const struct {
        int x, y;
        QColor colour;
    } rows[] = {{20, 0, Qt::blue},  {20, 1, Qt::blue},  {20, 2, Qt::red},   {20, 27, Qt::red},
                {20, 28, Qt::blue}, {20, 29, Qt::blue}, {0, 15, Qt::blue},  {1, 15, Qt::blue},
                {2, 15, Qt::red},   {37, 15, Qt::red},  {38, 15, Qt::blue}, {39, 15, Qt::blue}};
    for (const auto& row : rows) {
        EXPECT_EQ(image.pixelColor(row.x, row.y), row.colour) << row.x << "," << row.y;
    }
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(39, 29).alpha(), 0);
}

TEST_F(Plates, LetNothingOfTheirGroundOutOfAnOpaqueBorder) {
    const QImage image = painted(plate);
    for (int i = 0; i < 5; ++i) { // across the round corner, from outside
        EXPECT_EQ(image.pixelColor(i, i).red() > 0 && image.pixelColor(i, i).alpha() < 255, false)
            << i;
    }
}

TEST_F(Plates, HaveTheirGroundUnderABorderThatShowsIt) {
    plate.setBorderColour(QColor(0, 0, 255, 64));
    const QColor edge = painted(plate).pixelColor(20, 0);
    EXPECT_EQ(edge.alpha(), 255);
    EXPECT_NEAR(edge.red(), 191, 2);
}

TEST_F(Plates, ShowThePartOfTheirShapeThatIsInTheItem) {
    const QImage whole = painted(plate);
    plate.setSize({40, 10});
    plate.setShape({0, -20, 40, 30});
    EXPECT_EQ(painted(plate), whole.copy(0, 20, 40, 10));
}

TEST(Sparks, DrawNothingForFewerThanTwoValues) {
    SparkItem spark;
    spark.setSize({48, 18});
    spark.setColour(Qt::red);
    for (const QList<qreal>& values : {QList<qreal>(), QList<qreal>{50}}) {
        spark.setValues(values);
        EXPECT_EQ(paintedPixels(painted(spark)), 0);
    }
    spark.setValues({50, 50});
    EXPECT_GT(paintedPixels(painted(spark)), 40);
}

TEST(Sparks, ALineAlongTheTopOfItsBoxShowsItsWholeWidth) {
    SparkItem spark;
    spark.setSize({48, 18});
    spark.setColour(Qt::red);
    spark.setValues({50, 50});
    const QImage image = painted(spark);
    int alpha = 0;
    for (int y = 0; y < image.height(); ++y) {
        alpha += image.pixelColor(24, y).alpha();
    }
    EXPECT_NEAR(alpha / 255.0, 1.3 * 0.85, 0.03);
}

TEST(Sparks, AValueThatIsNoNumberDoesNoHarm) {
    SparkItem spark;
    spark.setSize({48, 18});
    spark.setValues({50, std::nan(""), 50});
    painted(spark);
}

TEST(ShieldMarks, AreCyanUnlessToldOtherwiseAndScaleByTheShorterSide) {
    ShieldMarkItem shield;
    EXPECT_EQ(shield.colour().name(), "#38e0ff");
    shield.setSize({96, 48});
    const QImage image = painted(shield);
    EXPECT_TRUE(near(image.pixelColor(24 + 9, 17), shield.colour())) << "its left edge";
    EXPECT_EQ(image.pixelColor(9, 17).alpha(), 0);
}

TEST(Symbols, EveryNamedOneIsThereInBothWeightsWithinTheGrid) {
    for (const char* name :
         {"chevron.down", "chevron.right", "checkmark.circle.fill", "info.circle.fill",
          "exclamationmark.triangle.fill", "xmark.circle.fill", "cup.and.saucer.fill",
          "arrow.down.circle.fill", "trash", "xmark", "power"}) {
        for (const SymbolWeight weight : {SymbolWeight::regular, SymbolWeight::bold}) {
            const QPainterPath path = symbolPath(name, weight);
            EXPECT_FALSE(path.isEmpty()) << name;
            EXPECT_TRUE(QRectF(0, 0, kSymbolGrid, kSymbolGrid).contains(path.boundingRect()))
                << name;
        }
    }
    EXPECT_TRUE(symbolPath("no.such.symbol", SymbolWeight::regular).isEmpty());
}

TEST(Symbols, AFilledOneShowsItsSignAsAHole) {
    const struct {
        const char* name;
        QPointF inSign;
        QPointF inFill;
    } rows[] = {{"checkmark.circle.fill", {10.5, 16}, {5, 8}},
                {"info.circle.fill", {12, 14}, {5, 12}},
                {"exclamationmark.triangle.fill", {12, 11}, {7, 18}},
                {"xmark.circle.fill", {12, 12}, {12, 4}},
                {"arrow.down.circle.fill", {12, 10}, {4, 12}}};
    for (const auto& row : rows) {
        const QPainterPath path = symbolPath(row.name, SymbolWeight::regular);
        EXPECT_FALSE(path.contains(row.inSign)) << row.name;
        EXPECT_TRUE(path.contains(row.inFill)) << row.name;
    }
}

TEST(Digits, NumbersOfAsManyDigitsAreEquallyWideInAnyFont) {
    DigitsItem digits;
    for (const char* family : {"Inter", "DejaVu Sans", "DejaVu Sans Mono"}) {
        digits.setFont(QFont(family, 20));
        digits.setText("111");
        const qreal width = digits.implicitWidth();
        EXPECT_GT(width, 0);
        for (const char* text : {"000", "777", "918"}) {
            digits.setText(text);
            EXPECT_EQ(digits.implicitWidth(), width) << family << " " << text;
        }
    }
}

TEST(Fonts, HaveTheirSizeInPixelsFractionsIncluded) {
    for (const qreal size : {8.5, 9.5, 10.0, 17.0}) {
        QFont tenfold = Inks::font(size, QFont::Bold);
        EXPECT_EQ(tenfold.weight(), QFont::Bold);
        tenfold.setPointSizeF(tenfold.pointSizeF() * 100);
        EXPECT_NEAR(QFontInfo(tenfold).pixelSize(), size * 100, 1) << size;
        EXPECT_TRUE(QFontInfo(Inks::monospaced(size, QFont::Normal)).fixedPitch());
    }
}

class Shadows : public testing::Test {
  protected:
    Shadows() {
        shadow.setSize({240, 300});
        shadow.setRadius(10);
        shadow.setColour(QColor(0, 0, 0, 128));
        image = painted(shadow);
    }
    int alphaAt(int x, int y) const { return qAlpha(image.pixel(x, y)); }

    ShadowItem shadow;
    QImage image;
};

TEST_F(Shadows, FadeToNothingAtTheEdgesOfTheItem) {
    for (int x = 0; x < image.width(); ++x) {
        EXPECT_LE(alphaAt(x, 0), 1) << x;
        EXPECT_LE(alphaAt(x, image.height() - 1), 1) << x;
    }
    for (int y = 0; y < image.height(); ++y) {
        EXPECT_LE(alphaAt(0, y), 1) << y;
        EXPECT_LE(alphaAt(image.width() - 1, y), 1) << y;
    }
}

TEST_F(Shadows, GrowDarkerTowardsThePanelAndAreDarkestUnderIt) {
    const int middle = image.width() / 2;
    const int panelBottom = image.height() - ShadowItem::kMargins.bottom();
    for (int y = panelBottom; y + 1 < image.height(); ++y) {
        EXPECT_GE(alphaAt(middle, y), alphaAt(middle, y + 1)) << y;
    }
    EXPECT_GT(alphaAt(middle, panelBottom), 2 * alphaAt(middle, ShadowItem::kMargins.top() - 1));
    EXPECT_LE(alphaAt(middle, panelBottom), 128);
}

TEST_F(Shadows, AreTheSameAtBothSidesAndGoOnEvenlyAroundTheCorners) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width() / 2; ++x) {
            ASSERT_EQ(alphaAt(x, y), alphaAt(image.width() - 1 - x, y)) << x << "," << y;
        }
    }
    // At one distance from the edge: beside a corner's arc and on its diagonal.
    const double centre = ShadowItem::kReach + 10;
    for (const int distance : {2, 6, 10, 14}) {
        const auto onDiagonal = static_cast<int>(centre - (10 + distance) / std::sqrt(2.0));
        const int straight = alphaAt(ShadowItem::kReach - distance, image.height() / 2);
        EXPECT_NEAR(alphaAt(onDiagonal, image.height() - 1 - onDiagonal), straight, 5) << distance;
    }
}

TEST_F(Shadows, LeaveNoGapBeforeThePanel) {
    // The panel's round corner at the bottom left, which stands higher than the shadow's own.
    const QRect panel = image.rect().marginsRemoved(ShadowItem::kMargins);
    for (int i = 0; i < 3; ++i) {
        EXPECT_GT(alphaAt(panel.left() + i, panel.bottom() - i), 20) << i;
        EXPECT_GT(alphaAt(panel.left() + i, panel.top() + i), 2) << i;
    }
}

} // namespace
} // namespace korvel
