#include "platform/linux/session/layer_place.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {

void PrintTo(const LayerPlace& place, std::ostream* out) {
    *out << (place.atRight ? "right" : "left") << (place.atBottom ? " bottom " : " top ")
         << place.margins.left() << ',' << place.margins.top() << ',' << place.margins.right()
         << ',' << place.margins.bottom();
}

namespace {

constexpr QSize kOutput(1280, 800);
constexpr QSize kPanel(340, 500);

struct Row {
    std::string what;
    QPoint click;
    LayerPlace place;
};

TEST(LayerPlace, StandsAtTheBarThatWasClicked) {
    const std::vector<Row> rows{
        {"top bar, in its middle", {500, 14}, {false, false, {330, 8, 0, 0}}},
        {"top bar, at its right end", {1225, 14}, {true, false, {0, 8, 8, 0}}},
        {"top bar, where it just fits", {1102, 14}, {true, false, {0, 8, 8, 0}}},
        {"top bar, a pixel before", {1101, 14}, {true, false, {0, 8, 9, 0}}},
        {"top bar, at its left end", {3, 14}, {false, false, {8, 8, 0, 0}}},
        {"bottom bar", {1101, 772}, {true, true, {0, 0, 9, 8}}},
        {"bottom bar, at its left end", {0, 799}, {false, true, {8, 0, 0, 8}}},
        {"right bar, in its middle", {1262, 350}, {true, false, {0, 100, 8, 0}}},
        {"right bar, below its middle", {1262, 500}, {true, true, {0, 0, 8, 50}}},
        {"left bar, near its lower end", {20, 690}, {false, true, {8, 0, 0, 8}}},
        {"left bar, at its lower end", {20, 780}, {false, true, {8, 0, 0, 8}}},
        {"the corner of a top bar", {1279, 0}, {true, false, {0, 8, 8, 0}}},
        {"the middle of the output, of a list of more items",
         {1000, 300},
         {true, false, {0, 8, 110, 0}}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(layerPlace(row.click, kOutput, kPanel, {}), row.place) << row.what;
    }
}

TEST(ClickPlace, IsCountedAsItsHostCounts) {
    const QList<ScaledOutput> plain{{{0, 0, 1280, 800}, 1}};
    const QList<ScaledOutput> twice{{{0, 0, 1280, 800}, 2}};
    const QList<ScaledOutput> half{{{0, 0, 1280, 800}, 1.5}};
    const QList<ScaledOutput> both{{{0, 0, 1280, 800}, 1}, {{1280, 0, 1280, 800}, 2}};
    struct Click {
        std::string what;
        QList<ScaledOutput> outputs;
        QPointF told;
        bool devicePixels;
        std::optional<QPoint> place;
    };
    const std::vector<Click> rows{
        {"unscaled", plain, {1105, 772}, true, QPoint(1105, 772)},
        {"logical", twice, {1076, 772}, false, QPoint(1076, 772)},
        {"the output's own pixels", twice, {2152, 1544}, true, QPoint(1076, 772)},
        {"its own, which could be logical ones", twice, {600, 28}, true, QPoint(300, 14)},
        {"logical, which could be its own", twice, {600, 28}, false, QPoint(600, 28)},
        {"its own, where they are not expected", twice, {2152, 1544}, false, QPoint(1076, 772)},
        {"one and a half", half, {1614, 1158}, true, QPoint(1076, 772)},
        {"the first of two", both, {1225, 14}, true, QPoint(1225, 14)},
        {"the second of two", both, {5010, 28}, true, QPoint(2505, 14)},
        {"the second of two, logical", both, {2505, 14}, false, QPoint(2505, 14)},
        {"nowhere", both, {9000, 9000}, true, std::nullopt},
        {"no outputs", {}, {5, 5}, false, std::nullopt},
    };
    for (const Click& row : rows) {
        EXPECT_EQ(clickPlace(row.told, row.outputs, row.devicePixels), row.place) << row.what;
    }
}

TEST(LayerPlace, ShadowReachesOverTheEdge) {
    const QMargins shadow(20, 12, 20, 28);
    EXPECT_EQ(layerPlace({1225, 14}, kOutput, kPanel, shadow),
              (LayerPlace{true, false, {0, -4, -12, 0}}));
    EXPECT_EQ(layerPlace({60, 790}, kOutput, kPanel, shadow),
              (LayerPlace{false, true, {-12, 0, 0, -20}}));
}

TEST(LayerPlace, PanelThatGrowsKeepsItsEdge) {
    for (const int height : {300, 500, 780, 900}) {
        EXPECT_EQ(layerPlace({1225, 14}, kOutput, {340, height}, {}),
                  (LayerPlace{true, false, {0, 8, 8, 0}}))
            << height;
    }
}

TEST(LayerPlace, PanelLargerThanTheOutputBeginsAtItsCorner) {
    EXPECT_EQ(layerPlace({190, 10}, {200, 150}, kPanel, {}),
              (LayerPlace{true, false, {0, 8, 8, 0}}));
    EXPECT_EQ(layerPlace({10, 140}, {200, 150}, kPanel, {}),
              (LayerPlace{false, true, {8, 0, 0, 8}}));
}

} // namespace
} // namespace korvel::platform
