#include "ui/quick/pixel_grid.h"

#include <cmath>

#include <gtest/gtest.h>

#include <QMetaProperty>

#include "ui/quick/theme.h"

namespace korvel {
namespace {

TEST(PixelGrids, BringLengthsAndPlacesToWholePixels) {
    const struct {
        double ratio;
        double given;
        double length, place, holding, before; ///< in pixels
    } rows[] = {
        {1, 10, 10, 10, 10, 10},
        {1, 3.5, 4, 4, 4, 3},
        {1.25, 1, 1, 1, 2, 1},
        {1.5, 1, 2, 2, 2, 1},
        {1.75, 14, 25, 25, 25, 24},
        {1.75, 10.1, 18, 18, 18, 17},
        {2, 0.4, 1, 1, 1, 0},
        {1.75, 0.1, 1, 0, 1, 0},
        {1.75, 0, 0, 0, 0, 0},
        {1.75, -2, 0, -4, -3, -4},
        {2.25, 4, 9, 9, 9, 9},
        {1.75, 3 / 1.75 + 1e-12, 3, 3, 3, 3},
        {1.75, 3 / 1.75 - 1e-12, 3, 3, 3, 3},
    };
    for (const auto& row : rows) {
        const PixelGrid grid(row.ratio);
        EXPECT_DOUBLE_EQ(grid.length(row.given) * row.ratio, row.length) << row.given;
        EXPECT_DOUBLE_EQ(grid.place(row.given) * row.ratio, row.place) << row.given;
        EXPECT_DOUBLE_EQ(grid.holding(row.given) * row.ratio, row.holding) << row.given;
        EXPECT_DOUBLE_EQ(grid.before(row.given) * row.ratio, row.before) << row.given;
    }
}

TEST(PixelGrids, PutTheMiddleOnAWholePixel) {
    EXPECT_DOUBLE_EQ(PixelGrid(1).middle(20, 13), 4);
    EXPECT_DOUBLE_EQ(PixelGrid(2).middle(20, 13), 3.5);
    EXPECT_DOUBLE_EQ(PixelGrid(1.75).middle(20, 8), 11 / 1.75);
}

TEST(Themes, HaveLengthsOfWholePixelsAtEveryScale) {
    Theme usual(nullptr);
    usual.setPixelRatio(1000); // as good as exact
    for (const double ratio : {1.0, 1.25, 1.5, 1.75, 2.0, 2.25, 3.0}) {
        Theme theme(nullptr);
        theme.setPixelRatio(ratio);
        int lengths = 0;
        for (int i = theme.metaObject()->propertyOffset(); i < theme.metaObject()->propertyCount();
             ++i) {
            const QMetaProperty property = theme.metaObject()->property(i);
            const QString name = QLatin1String(property.name());
            if (property.typeId() != QMetaType::Double || !property.isWritable()) {
                continue;
            }
            const double pixels = property.read(&theme).toDouble() * ratio;
            const double exact = property.read(&usual).toDouble() * ratio;
            const bool smooth = name.endsWith(QLatin1String("Symbol")) ||
                                name.endsWith(QLatin1String("LineWidth")) ||
                                name == QLatin1String("bannerDot");
            if (smooth) {
                EXPECT_NEAR(pixels, exact, 0.01) << property.name();
                continue;
            }
            ++lengths;
            EXPECT_NEAR(pixels, std::round(pixels), 1e-9) << property.name() << " at " << ratio;
            EXPECT_NEAR(pixels, exact, 0.51) << property.name() << " at " << ratio;
        }
        EXPECT_GT(lengths, 70);
    }
}

TEST(Themes, SayOnceThatTheirSizesAreOthers) {
    Theme theme(nullptr);
    int said = 0;
    QObject::connect(&theme, &Theme::changed, [&said] { ++said; });
    theme.setPixelRatio(1);
    EXPECT_EQ(said, 0);
    theme.setPixelRatio(1.5);
    EXPECT_EQ(said, 1);
}

} // namespace
} // namespace korvel
