#include "platform/linux/session/xwayland_scale.h"

#include <gtest/gtest.h>

#include <string>

namespace korvel::platform {
namespace {

TEST(ScaleOfXwayland, FollowsFromTheOutputsAndTheServersScreen) {
    struct Desktop {
        std::string what;
        std::vector<WaylandOutput> outputs;
        X11Screen screen;
        double pixelsPerPlace;
        double pixelsPerPoint;
        bool sharp;
    };
    const WaylandOutput plain{1280, 800, 1, 1280, 800, 0, 0};
    const WaylandOutput twiceAtTheRight{2560, 1600, 2, 1280, 800, 1280, 0};
    const WaylandOutput plainAtTheRight{1280, 800, 1, 1280, 800, 2560, 0};
    const std::vector<Desktop> rows{
        {"plain", {plain}, {1280, 800}, 1, 1, true},
        {"turned", {{1280, 800, 1, 800, 1280, 0, 0}}, {800, 1280}, 1, 1, true},
        {"twice, in pixels of the output",
         {{2560, 1600, 2, 1280, 800, 0, 0}},
         {2560, 1600},
         2,
         2,
         true},
        {"twice, magnified", {{2560, 1600, 2, 1280, 800, 0, 0}}, {1280, 800}, 1, 1, false},
        {"twice, counted in pixels", {{2560, 1600, 2, 2560, 1600, 0, 0}}, {2560, 1600}, 1, 2, true},
        {"one and a half, shrunk from twice",
         {{2400, 1500, 2, 1600, 1000, 0, 0}},
         {3200, 2000},
         2,
         2,
         true},
        {"one and a half, magnified",
         {{2400, 1500, 2, 1600, 1000, 0, 0}},
         {1600, 1000},
         1,
         1,
         false},
        {"one and a half, in pixels of the output",
         {{2400, 1500, 2, 1600, 1000, 0, 0}},
         {2400, 1500},
         1.5,
         1.5,
         true},
        {"one and a third, rounded", {{1920, 1080, 2, 1440, 810, 0, 0}}, {2880, 1620}, 2, 2, true},
        {"plain and twice, shrunk", {plain, twiceAtTheRight}, {5120, 1600}, 2, 2, true},
        {"plain and twice, magnified", {plain, twiceAtTheRight}, {2560, 800}, 1, 1, false},
        {"plain and twice, counted in pixels",
         {{2560, 1600, 2, 2560, 1600, 0, 0}, plainAtTheRight},
         {3840, 1600},
         1,
         2,
         true},
    };
    for (const Desktop& row : rows) {
        const auto scale = xwaylandScale(row.outputs, row.screen);
        ASSERT_TRUE(scale) << row.what;
        EXPECT_DOUBLE_EQ(scale->pixelsPerPlace, row.pixelsPerPlace) << row.what;
        EXPECT_DOUBLE_EQ(scale->pixelsPerPoint, row.pixelsPerPoint) << row.what;
        EXPECT_EQ(scale->sharp, row.sharp) << row.what;
    }
}

TEST(ScaleOfXwayland, IsUnknownWithoutTheLogicalSizes) {
    EXPECT_FALSE(xwaylandScale({}, {1280, 800}));
    EXPECT_FALSE(xwaylandScale({{1280, 800, 1, 0, 0}}, {1280, 800}));
    EXPECT_FALSE(xwaylandScale({{1280, 800, 1, 1280, 800}}, {0, 0}));
}

} // namespace
} // namespace korvel::platform
