// What the drawings paint where the views are laid out from right to left.

#include <gtest/gtest.h>

#include <QImage>

#include "ui/quick/gauge_bar_item.h"
#include "ui/quick/painted.h"
#include "ui/quick/symbol_item.h"

namespace korvel {
namespace {

/// Qt does not paint the two ends of a shape quite alike.
void expectSame(const QImage& a, const QImage& b) {
    constexpr int kUnseen = 12;
    ASSERT_EQ(a.size(), b.size());
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            EXPECT_NEAR(qAlpha(a.pixel(x, y)), qAlpha(b.pixel(x, y)), kUnseen) << x << ',' << y;
            EXPECT_NEAR(qRed(a.pixel(x, y)), qRed(b.pixel(x, y)), kUnseen) << x << ',' << y;
        }
    }
}

TEST(MirroredDrawings, ABarIsFilledFromTheRight) {
    for (const QColor& rim : {QColor(Qt::transparent), QColor(Qt::black)}) {
        GaugeBarItem bar;
        bar.setSize({40, 4});
        bar.setColour(Qt::red);
        bar.setRim(rim);
        bar.setTrackColour(Qt::blue);
        bar.setFraction(0.25);
        const QImage usual = painted(bar);
        EXPECT_EQ(usual.pixelColor(5, 2), QColor(Qt::red));
        EXPECT_EQ(usual.pixelColor(34, 2), QColor(Qt::blue));
        bar.setMirrored(true);
        expectSame(painted(bar), usual.mirrored(true, false));
    }
}

TEST(MirroredDrawings, AChevronPointsTheOtherWay) {
    for (const bool bold : {false, true}) {
        SymbolItem chevron;
        chevron.QQuickItem::setSize({24, 24});
        chevron.setColour(Qt::red);
        chevron.setBold(bold);
        chevron.setName(QStringLiteral("chevron.right"));
        const QImage usual = painted(chevron);
        chevron.setMirrored(true);
        const QImage mirrored = painted(chevron);
        EXPECT_NE(mirrored, usual);
        expectSame(mirrored, usual.mirrored(true, false));
    }
}

} // namespace
} // namespace korvel
