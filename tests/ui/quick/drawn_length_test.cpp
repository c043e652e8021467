#include "ui/quick/drawn_length.h"

#include <gtest/gtest.h>

#include <ostream>

namespace korvel {
namespace {

struct LengthCase {
    double scale;
    int needed;
    int window;

    friend std::ostream& operator<<(std::ostream& out, const LengthCase& row) {
        return out << row.needed << " at " << row.scale;
    }
};

class WindowLength : public testing::TestWithParam<LengthCase> {};

TEST_P(WindowLength, IsTheShortestOfWhichAllThatIsNeededIsDrawn) {
    const auto [scale, needed, window] = GetParam();
    EXPECT_EQ(lengthDrawing(needed, scale), window);
    EXPECT_GE(drawnLength(window, scale), needed);
}

INSTANTIATE_TEST_SUITE_P(Scales, WindowLength,
                         testing::Values(LengthCase{1, 340, 340}, LengthCase{2, 595, 595},
                                         // 17 pixels to 16
                                         LengthCase{1.0625, 340, 341}, LengthCase{1.1, 340, 340},
                                         LengthCase{1.25, 340, 340}, LengthCase{1.25, 501, 502},
                                         LengthCase{1.25, 503, 503}, LengthCase{1.5, 340, 340},
                                         LengthCase{1.75, 340, 340}, LengthCase{1.75, 503, 504},
                                         LengthCase{2.25, 340, 340}, LengthCase{2.25, 501, 502},
                                         // half of the last pixel
                                         LengthCase{1.1, 595, 596}, LengthCase{1.25, 502, 503},
                                         LengthCase{1.5, 501, 502}, LengthCase{1.75, 502, 504},
                                         LengthCase{2.25, 502, 503}));

TEST(DrawnLength, LeavesOutWhatIsLeftOfALogicalPixel) {
    EXPECT_EQ(drawnLength(340, 1.75), 340);
    EXPECT_EQ(drawnLength(339, 1.75), 338); // 593 pixels, of 593.25
    EXPECT_EQ(drawnLength(338, 1.75), 338); // 592 pixels, for 591.5
    EXPECT_EQ(drawnLength(338, 2), 338);
}

} // namespace
} // namespace korvel
