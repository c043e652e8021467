// What the dial paints, and when.

#include <cmath>

#include <gtest/gtest.h>

#include <QImage>
#include <QQuickWindow>

#include "ui/quick/dial_item.h"
#include "ui/quick/painted.h"

namespace korvel {
namespace {

class Dials : public testing::Test {
  protected:
    Dials() {
        dial.setSize({56, 56});
        dial.setLineWidth(5);
        dial.setColour(Qt::red);
        dial.setTrackColour(Qt::blue);
    }
    /// The colour on the ring at an angle in degrees, clockwise from twelve o'clock.
    QColor ringAt(double degrees) {
        const double radians = degrees / 180 * std::acos(-1.0);
        return painted(dial).pixelColor(static_cast<int>(28 + 25.5 * std::sin(radians)),
                                        static_cast<int>(28 - 25.5 * std::cos(radians)));
    }

    DialItem dial;
};

TEST_F(Dials, TheArcRunsClockwiseFromTwelveOClock) {
    dial.setFraction(0.25);
    EXPECT_TRUE(near(ringAt(10), Qt::red));
    EXPECT_TRUE(near(ringAt(80), Qt::red));
    EXPECT_TRUE(near(ringAt(110), Qt::blue));
    EXPECT_TRUE(near(ringAt(340), Qt::blue));
}

TEST_F(Dials, TheArcBeginsWhereItIsTold) {
    dial.setFraction(0.25);
    dial.setStart(0.25);
    EXPECT_TRUE(near(ringAt(70), Qt::blue));
    EXPECT_TRUE(near(ringAt(100), Qt::red));
    EXPECT_TRUE(near(ringAt(170), Qt::red));
    EXPECT_TRUE(near(ringAt(200), Qt::blue));
}

TEST_F(Dials, AScoreOfNothingDrawsNoArcNotEvenADot) {
    dial.setFraction(0);
    const QImage image = painted(dial);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            EXPECT_EQ(image.pixelColor(x, y).red(), 0) << x << "," << y;
        }
    }
}

TEST_F(Dials, TheStrokeLiesOnTheCircleThatItIsGiven) {
    dial.setSize({62, 62});
    dial.setDiameter(56);
    dial.setFraction(1);
    const QImage image = painted(dial);
    const struct {
        int distance; ///< from the middle
        bool inked;
    } rows[] = {{24, false}, {26, true}, {29, true}};
    for (const auto& row : rows) {
        EXPECT_EQ(image.pixelColor(31 + row.distance, 31).alpha() > 128, row.inked) << row.distance;
    }
}

TEST_F(Dials, AKeptRingIsDrawnAnewForAnotherValue) {
    const auto like = [](const DialItem& model) {
        DialItem other;
        other.setSize(model.size());
        other.setDiameter(model.diameter());
        other.setLineWidth(model.lineWidth());
        other.setColour(model.colour());
        other.setTrackColour(model.trackColour());
        other.setFraction(model.fraction());
        return painted(other);
    };
    painted(dial);
    dial.setFraction(0.4);
    EXPECT_EQ(painted(dial), like(dial));
    dial.setTrackColour(QColor(0, 255, 0, 25));
    EXPECT_EQ(painted(dial), like(dial));
    dial.setLineWidth(7);
    EXPECT_EQ(painted(dial), like(dial));
    dial.setDiameter(40);
    EXPECT_EQ(painted(dial), like(dial));
    dial.setSize({62, 62});
    EXPECT_EQ(painted(dial), like(dial));
}

TEST_F(Dials, AFullScoreIsAFullCircle) {
    dial.setFraction(1);
    for (const double degrees : {1.0, 90.0, 180.0, 270.0, 359.0}) {
        EXPECT_TRUE(near(ringAt(degrees), Qt::red)) << degrees;
    }
}

TEST_F(Dials, AreDrawnOnTheWayToAGoalWhereTheArcHasMovedByAPixelAndAtTheGoal) {
    class CountedDial : public DialItem {
      public:
        using DialItem::DialItem;
        void paint(QPainter* painter) override {
            ++painted;
            DialItem::paint(painter);
        }

        int painted = 0;
    };
    QQuickWindow window;
    window.show();
    CountedDial counted(window.contentItem());
    counted.setSize({105, 105});
    counted.setDiameter(100); // 314 pixels around
    counted.setLineWidth(5);
    const auto paintedFor = [&](auto change) {
        const int before = counted.painted;
        change();
        window.grabWindow();
        return counted.painted - before;
    };
    paintedFor([&] { counted.setFraction(0.5); });
    EXPECT_EQ(paintedFor([&] { counted.setFraction(0.501); }), 1) << "without a goal";
    paintedFor([&] { counted.setGoal(0.501); });
    EXPECT_EQ(paintedFor([&] { counted.setGoal(0.6); }), 0);
    const struct {
        double fraction;
        int painted;
    } rows[] = {{0.502, 0}, {0.504, 0}, {0.505, 1}, {0.507, 0},
                {0.509, 1}, {0.55, 1},  {0.599, 1}, {0.6, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(paintedFor([&] { counted.setFraction(row.fraction); }), row.painted)
            << row.fraction;
    }
    paintedFor([&] { counted.setGoal(0.7); });
    EXPECT_EQ(paintedFor([&] { counted.setFraction(0.602); }), 0);
    EXPECT_EQ(paintedFor([&] { counted.setGoal(0.602); }), 1) << "a goal that is reached already";
}

} // namespace
} // namespace korvel
