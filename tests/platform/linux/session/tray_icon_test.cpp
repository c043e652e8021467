#include "platform/linux/session/tray_icon.h"

#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "app/status_title.h"

namespace korvel::platform {
namespace {

constexpr QRgb kInk = 0xff101418;

QImage draw(int score, int pixels, bool awake = false) {
    return drawTrayIcon(statusTitle(score, awake), pixels);
}

/// The number of pixels of exactly this colour.
int count(const QImage& image, QRgb colour) {
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            found += image.pixel(x, y) == colour;
        }
    }
    return found;
}

enum class Along { columns, rows };

bool isDark(QRgb pixel) {
    return qGray(pixel) < 90 && qAlpha(pixel) == 255;
}

/// How many pieces of ink stand apart from one another, side by side or one over the other.
int pieces(const QImage& image, Along along) {
    int found = 0;
    bool inside = false;
    for (int i = 0; i < image.width(); ++i) {
        bool dark = false;
        for (int j = 0; j < image.width(); ++j) {
            dark = dark || isDark(along == Along::columns ? image.pixel(i, j) : image.pixel(j, i));
        }
        found += dark && !inside;
        inside = dark;
    }
    return found;
}

class TrayIconAtSize : public testing::TestWithParam<int> {};

TEST_P(TrayIconAtSize, ShowsTheExactColourOfTheScore) {
    struct Case {
        int score;
        QRgb colour;
    };
    for (const Case& c : {Case{72, 0xff4fd982}, Case{71, 0xffffb84d}, Case{55, 0xffffb84d},
                          Case{54, 0xffff5c5c}, Case{0, 0xffff5c5c}, Case{100, 0xff4fd982}}) {
        EXPECT_GT(count(draw(c.score, GetParam()), c.colour), GetParam() * GetParam() / 5)
            << "score " << c.score;
    }
}

TEST_P(TrayIconAtSize, EveryScoreHasAPictureOfItsOwn) {
    std::set<std::vector<uchar>> pictures;
    for (int score = 0; score <= 100; ++score) {
        const QImage image = draw(score, GetParam());
        pictures.emplace(image.constBits(), image.constBits() + image.sizeInBytes());
    }
    EXPECT_EQ(pictures.size(), 101U);
}

TEST_P(TrayIconAtSize, TheNumberHasTheDigitsOfTheScore) {
    struct Case {
        int score;
        int digits;
    };
    for (const Case& c : {Case{0, 1}, Case{9, 1}, Case{10, 2}, Case{99, 2}, Case{100, 3}}) {
        EXPECT_EQ(pieces(draw(c.score, GetParam()), Along::columns), c.digits)
            << "score " << c.score;
    }
}

TEST_P(TrayIconAtSize, TheNumberIsInkOnWholePixels) {
    // Upright and level strokes lie on whole pixels, so at least half of the ink is not blended.
    for (const int score : {0, 7, 10, 87, 88, 100}) {
        const QImage image = draw(score, GetParam());
        int dark = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                dark += isDark(image.pixel(x, y));
            }
        }
        EXPECT_GE(2 * count(image, kInk), dark) << "score " << score;
        EXPECT_GT(dark, GetParam()) << "score " << score;
    }
}

TEST_P(TrayIconAtSize, TheNumberKeepsOffTheEdge) {
    for (int score = 0; score <= 100; ++score) {
        const QImage image = draw(score, GetParam());
        for (int i = 0; i < GetParam(); ++i) {
            for (const QRgb pixel : {image.pixel(i, 0), image.pixel(i, GetParam() - 1),
                                     image.pixel(GetParam() - 1, i)}) {
                EXPECT_NE(pixel, kInk) << "score " << score;
            }
        }
    }
}

TEST_P(TrayIconAtSize, TheCupChangesThePictureAndLeavesTheNumber) {
    EXPECT_NE(draw(87, GetParam(), true), draw(87, GetParam(), false));
    EXPECT_NE(draw(87, GetParam(), true), draw(86, GetParam(), true));
    EXPECT_EQ(pieces(draw(87, GetParam(), true), Along::rows), 2) << "a cup above the number";
    EXPECT_EQ(pieces(draw(87, GetParam(), false), Along::rows), 1) << "the number alone";
}

INSTANTIATE_TEST_SUITE_P(Panels, TrayIconAtSize, testing::Values(16, 22, 24, 32, 44, 48, 64, 128));

TEST(TrayIcon, IsDrawnFromTheTitlesValuesAndNotFromItsText) {
    StatusTitle title = statusTitle(87, true);
    title.runs = statusTitle(12, false).runs;
    EXPECT_EQ(drawTrayIcon(title, 32), draw(87, 32, true));
}

TEST(TrayIcon, IsTransparentWhereNothingCanBeRead) {
    EXPECT_EQ(count(draw(87, 7), 0), 7 * 7);
}

TEST(TrayIcon, OffersTheSizesThatPanelsDraw) {
    const QIcon icon = trayIcon(statusTitle(7, false));
    const QList<QSize> sizes = icon.availableSizes();
    for (const int pixels : {16, 22, 24, 32, 48, 64}) {
        EXPECT_TRUE(sizes.contains(QSize(pixels, pixels))) << pixels;
    }
}

} // namespace
} // namespace korvel::platform
