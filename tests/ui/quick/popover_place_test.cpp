#include "ui/quick/popover_place.h"

#include <gtest/gtest.h>

#include <ostream>

namespace korvel {
namespace {

const QRect kScreen(0, 0, 1280, 800);

struct PanelCase {
    const char* name;
    QRect panel;
    QRect free; ///< as the desktop tells it
    QRect left;

    friend std::ostream& operator<<(std::ostream& out, const PanelCase& row) {
        return out << row.name;
    }
};

class FreeBesideAPanel : public testing::TestWithParam<PanelCase> {};

TEST_P(FreeBesideAPanel, IsWithoutThePanelAlone) {
    EXPECT_EQ(freeBeside(GetParam().panel, kScreen, GetParam().free), GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(
    Panels, FreeBesideAPanel,
    testing::Values(
        PanelCase{"none", {}, kScreen, kScreen},
        PanelCase{"below, not told", {0, 777, 1280, 23}, kScreen, {0, 0, 1280, 777}},
        PanelCase{"above, not told", {0, 0, 1280, 23}, kScreen, {0, 23, 1280, 777}},
        PanelCase{"at the left, not told", {0, 0, 40, 800}, kScreen, {40, 0, 1240, 800}},
        PanelCase{"at the right, not told", {1240, 0, 40, 800}, kScreen, {0, 0, 1240, 800}},
        PanelCase{"told", {0, 0, 1280, 23}, {0, 23, 1280, 777}, {0, 23, 1280, 777}},
        PanelCase{"less than was told", {0, 0, 1280, 23}, {0, 60, 1280, 740}, {0, 60, 1280, 740}},
        PanelCase{"short", {1100, 772, 180, 28}, kScreen, {0, 0, 1280, 772}},
        PanelCase{"as large as the screen", kScreen, kScreen, kScreen},
        PanelCase{"too thick for a panel", {0, 500, 1280, 300}, kScreen, kScreen}));

struct PlaceCase {
    const char* name;
    QRect anchor;
    QRect free;
    QPoint place;

    friend std::ostream& operator<<(std::ostream& out, const PlaceCase& row) {
        return out << row.name;
    }
};

class PlaceOfThePopover : public testing::TestWithParam<PlaceCase> {};

TEST_P(PlaceOfThePopover, IsAtTheItemAndInTheFreeArea) {
    EXPECT_EQ(placeAt(GetParam().anchor, QSize(340, 500), GetParam().free), GetParam().place);
}

INSTANTIATE_TEST_SUITE_P(
    Items, PlaceOfThePopover,
    testing::Values(
        PlaceCase{"above, in the middle", {631, 2, 19, 19}, {0, 23, 1280, 777}, {470, 27}},
        PlaceCase{"above, at the right", {1259, 2, 19, 19}, {0, 23, 1280, 777}, {936, 27}},
        PlaceCase{"above, at the left", {2, 2, 19, 19}, {0, 23, 1280, 777}, {4, 27}},
        PlaceCase{"below, at the right", {1259, 779, 19, 19}, {0, 0, 1280, 777}, {936, 273}},
        PlaceCase{"below, by the pointer", {1268, 799, 1, 1}, {0, 0, 1280, 777}, {936, 273}},
        PlaceCase{"in a free area of less than its size",
                  {1259, 2, 19, 19},
                  {0, 23, 1280, 300},
                  {936, 27}}));

} // namespace
} // namespace korvel
