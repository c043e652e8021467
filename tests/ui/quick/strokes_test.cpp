// What the drawings stroke with, as their painter is told.

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

#include "ui/quick/dial_item.h"
#include "ui/quick/shield_mark_item.h"
#include "ui/quick/spark_item.h"

namespace korvel {
namespace {

/// Paints nothing, and keeps the pen of each path.
class PenKeeper : public QPaintDevice {
  public:
    const std::vector<QPen>& pens() const { return engine_.pens; }
    QPaintEngine* paintEngine() const override { return &engine_; }

  protected:
    int metric(PaintDeviceMetric metric) const override {
        constexpr int kSide = 100;
        constexpr int kDotsAnInch = 96;
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return kSide;
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return kDotsAnInch;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return qRound(devicePixelRatioFScale());
        default:
            return QPaintDevice::metric(metric);
        }
    }

  private:
    class Engine : public QPaintEngine {
      public:
        Engine() : QPaintEngine(AllFeatures) {}
        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        Type type() const override { return User; }
        void updateState(const QPaintEngineState& changed) override {
            if (changed.state().testFlag(DirtyPen)) {
                pen_ = changed.pen();
            }
        }
        void drawPath(const QPainterPath&) override { pens.push_back(pen_); }
        void drawEllipse(const QRectF&) override { pens.push_back(pen_); }
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override { FAIL(); }

        std::vector<QPen> pens;

      private:
        QPen pen_;
    };

    mutable Engine engine_;
};

std::vector<QPen> pensOf(TintedItem& item) {
    PenKeeper keeper;
    QPainter painter(&keeper);
    item.paint(&painter);
    painter.end();
    return keeper.pens();
}

/// One stroke, as it is meant to be.
struct Stroke {
    const char* what;
    double width;
    QColor colour;
    Qt::PenCapStyle cap;
    Qt::PenJoinStyle join;
    double miterLimit;
};

void expectStrokes(TintedItem& item, const std::vector<Stroke>& expected) {
    const std::vector<QPen> pens = pensOf(item);
    ASSERT_EQ(pens.size(), expected.size());
    for (std::size_t i = 0; i < pens.size(); ++i) {
        SCOPED_TRACE(expected[i].what);
        EXPECT_DOUBLE_EQ(pens[i].widthF(), expected[i].width);
        EXPECT_EQ(pens[i].color(), expected[i].colour);
        EXPECT_EQ(pens[i].capStyle(), expected[i].cap);
        EXPECT_EQ(pens[i].joinStyle(), expected[i].join);
        EXPECT_DOUBLE_EQ(pens[i].miterLimit(), expected[i].miterLimit);
        EXPECT_EQ(pens[i].style(), Qt::SolidLine);
    }
}

TEST(Strokes, OfTheMarkEndButtAtItsOutlineAndRoundAtItsTrace) {
    ShieldMarkItem shield;
    shield.setColour(Qt::red);
    for (const double scale : {1.0, 0.5}) {
        shield.setSize({48 * scale, 48 * scale});
        expectStrokes(shield, {{"outline", 3.4 * scale, Qt::red, Qt::FlatCap, Qt::RoundJoin, 10},
                               {"trace", 3.8 * scale, Qt::red, Qt::RoundCap, Qt::RoundJoin, 10}});
    }
}

TEST(Strokes, OfASparkAreThinAndTranslucent) {
    SparkItem spark;
    spark.setSize({spark.implicitWidth(), spark.implicitHeight()});
    spark.setColour(Qt::red);
    spark.setValues({10, 30, 20});
    QColor red = Qt::red;
    red.setAlphaF(0.85F);
    expectStrokes(spark, {{"line", 1.3, red, Qt::FlatCap, Qt::RoundJoin, 10}});
}

TEST(Strokes, OfADialsArcEndRound) {
    DialItem dial;
    dial.setSize({56, 56});
    dial.setLineWidth(5);
    dial.setColour(Qt::red);
    dial.setTrackColour(Qt::blue);
    dial.setFraction(0.6);
    const std::vector<QPen> pens = pensOf(dial);
    ASSERT_EQ(pens.size(), 2U);
    EXPECT_EQ(pens[0].color(), QColor(Qt::blue));
    EXPECT_EQ(pens[0].widthF(), 5);
    EXPECT_EQ(pens[1].color(), QColor(Qt::red));
    EXPECT_EQ(pens[1].widthF(), 5);
    EXPECT_EQ(pens[1].capStyle(), Qt::RoundCap);
}

} // namespace
} // namespace korvel
