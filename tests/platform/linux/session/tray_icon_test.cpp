#include "platform/linux/session/tray_icon.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ios>
#include <ostream>
#include <set>
#include <utility>
#include <vector>

#include <QPainter>
#include <gtest/gtest.h>

#include "app/status_title.h"

namespace korvel::platform {
namespace {

constexpr QRgb kInk = 0xff080a0c;
constexpr QRgb kGreen = 0xff4fd982;
constexpr QRgb kAmber = 0xffffb84d;
constexpr QRgb kRed = 0xffff5c5c;

QRgb faceOf(int score) {
    return score >= 72 ? kGreen : score > 54 ? kAmber : kRed;
}

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

/// Mostly ink: nothing of the tile, its darkest shade included, is so dark.
bool isDark(QRgb pixel) {
    return qGray(pixel) < 60 && qAlpha(pixel) == 255;
}

std::vector<QPoint> inkOf(const QImage& image) {
    std::vector<QPoint> ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isDark(image.pixel(x, y))) {
                ink.emplace_back(x, y);
            }
        }
    }
    return ink;
}

QRect boxOf(const std::vector<QPoint>& ink) {
    QRect box;
    for (const QPoint& at : ink) {
        box |= QRect(at, QSize(1, 1));
    }
    return box;
}

/// How many pieces stand side by side in the box, with a whole column of the tile's face between
/// each two.
int piecesIn(const QRect& box, const QImage& image, QRgb face) {
    int found = 0;
    bool inside = false;
    for (int x = box.left(); x <= box.right(); ++x) {
        bool clear = true;
        for (int y = box.top(); y <= box.bottom(); ++y) {
            clear = clear && image.pixel(x, y) == face;
        }
        found += !clear && !inside;
        inside = !clear;
    }
    return found;
}

/// How bright a colour is to the eye, from 0 to 1, as contrasts are reckoned.
double luminance(QRgb colour) {
    const auto linear = [](int channel) {
        const double part = channel / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) +
           0.0722 * linear(qBlue(colour));
}

/// Whether somebody who sees no colours sees these two apart.
bool differInBrightness(QRgb one, QRgb other) {
    if (one == other) {
        return false;
    }
    constexpr double kSeen = 1.3; // as a ratio of contrast
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) >= kSeen * std::min(first, second);
}

QImage onPanel(const QImage& icon, QRgb panel) {
    QImage image(icon.size(), QImage::Format_RGB32);
    image.fill(panel);
    QPainter(&image).drawImage(0, 0, icon);
    return image;
}

/// One size, with what is asked of it.
struct Size {
    int pixels = 0;
    int beside = 0; ///< pixels that are free at the left and the right of the number, at least
    int over = 0;   ///< and above and below it
    int marked = 0; ///< pixels by which the mark of a machine that is kept awake is seen, at least
};

void PrintTo(const Size& size, std::ostream* out) {
    *out << size.pixels << " pixels";
}

class TrayIconAtSize : public testing::TestWithParam<Size> {
  protected:
    const int pixels_ = GetParam().pixels;

    /// Calls `check` with each score, not awake and awake, and with the picture of it.
    template <typename Check>
    void forEachPicture(const Check& check) const {
        for (const bool awake : {false, true}) {
            for (int score = 0; score <= 100; ++score) {
                const QImage image = draw(score, pixels_, awake);
                SCOPED_TRACE(testing::Message() << "score " << score << (awake ? ", awake" : ""));
                check(score, image);
                if (testing::Test::HasFailure()) {
                    return; // the other pictures most likely say the same
                }
            }
        }
    }
};

TEST_P(TrayIconAtSize, ShowsTheExactColourOfTheScore) {
    for (const int score : {72, 71, 55, 54, 0, 100}) {
        for (const bool awake : {false, true}) {
            EXPECT_GT(count(draw(score, pixels_, awake), faceOf(score)), pixels_ * pixels_ / 4)
                << "score " << score << (awake ? ", awake" : "");
        }
    }
}

TEST_P(TrayIconAtSize, EveryScoreHasAPictureOfItsOwnWithAndWithoutTheMark) {
    std::set<std::vector<uchar>> pictures;
    forEachPicture([&pictures](int, const QImage& image) {
        pictures.emplace(image.constBits(), image.constBits() + image.sizeInBytes());
    });
    EXPECT_EQ(pictures.size(), 2 * 101U);
}

TEST_P(TrayIconAtSize, TheDigitsOfTheScoreStandApart) {
    forEachPicture([](int score, const QImage& image) {
        const int digits = score == 100 ? 3 : score >= 10 ? 2 : 1;
        EXPECT_EQ(piecesIn(boxOf(inkOf(image)), image, faceOf(score)), digits);
    });
}

TEST_P(TrayIconAtSize, TheNumberIsInTheMiddleExactlyWhereTheSizeIsEvenElseToHalfAPixel) {
    forEachPicture([this](int, const QImage& image) {
        const QRect box = boxOf(inkOf(image));
        const int rightMinusLeft = pixels_ - box.width() - 2 * box.left();
        const int belowMinusAbove = pixels_ - box.height() - 2 * box.top();
        EXPECT_LE(std::abs(rightMinusLeft), pixels_ % 2);
        EXPECT_LE(std::abs(belowMinusAbove), pixels_ % 2);
    });
}

TEST_P(TrayIconAtSize, TheNumberKeepsOffTheEdge) {
    forEachPicture([this](int, const QImage& image) {
        const std::vector<QPoint> ink = inkOf(image);
        const QRect box = boxOf(ink);
        EXPECT_GE(box.left(), GetParam().beside);
        EXPECT_GE(pixels_ - 1 - box.right(), GetParam().beside);
        EXPECT_GE(box.top(), GetParam().over);
        EXPECT_GE(pixels_ - 1 - box.bottom(), GetParam().over);
        // Where the tile is round, a pixel of it is on each side at least.
        for (const QPoint& at : ink) {
            for (const QPoint& step : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)}) {
                ASSERT_EQ(qAlpha(image.pixel(at + step)), 255)
                    << "beside the ink at " << at.x() << ", " << at.y();
            }
        }
    });
}

TEST_P(TrayIconAtSize, TheMarkLeavesTheNumberAsItIs) {
    for (int score = 0; score <= 100; ++score) {
        EXPECT_EQ(inkOf(draw(score, pixels_, true)), inkOf(draw(score, pixels_, false)))
            << "score " << score;
    }
}

TEST_P(TrayIconAtSize, TheMarkIsSeenWithoutColoursOnLightAndDarkPanels) {
    for (const QRgb panel : {0xfff6f5f4, 0xffd4d0c8, 0xff2e3436, 0xff000000}) {
        for (const int score : {30, 60, 87}) {
            const QImage plain = onPanel(draw(score, pixels_, false), panel);
            const QImage awake = onPanel(draw(score, pixels_, true), panel);
            int seen = 0;
            for (int y = 0; y < pixels_; ++y) {
                for (int x = 0; x < pixels_; ++x) {
                    seen += differInBrightness(plain.pixel(x, y), awake.pixel(x, y));
                }
            }
            EXPECT_GE(seen, GetParam().marked) << "score " << score << " on " << std::hex << panel;
        }
    }
}

TEST_P(TrayIconAtSize, TheNumberIsInkOnWholePixels) {
    // Upright and level strokes lie on whole pixels, so at least half of the ink is not blended; in
    // the sizes whose digits were drawn pixel by pixel nothing is.
    const bool pixelByPixel = pixels_ >= 14 && pixels_ < 26;
    for (int score = 0; score <= 100; ++score) {
        const QImage image = draw(score, pixels_);
        const QRect box = boxOf(inkOf(image));
        int blended = 0;
        for (int y = box.top(); y <= box.bottom(); ++y) {
            for (int x = box.left(); x <= box.right(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                blended += pixel != kInk && pixel != faceOf(score);
            }
        }
        EXPECT_LE(blended, pixelByPixel ? 0 : count(image, kInk)) << "score " << score;
    }
}

INSTANTIATE_TEST_SUITE_P(Panels, TrayIconAtSize,
                         testing::Values(Size{16, 2, 3, 36}, Size{17, 2, 3, 40}, Size{18, 2, 4, 40},
                                         Size{19, 2, 4, 45}, Size{20, 2, 4, 50}, Size{21, 2, 4, 50},
                                         Size{22, 2, 4, 55}, Size{23, 2, 4, 55}, Size{24, 2, 5, 60},
                                         Size{25, 2, 5, 60}, Size{26, 2, 5, 60}, Size{28, 2, 5, 75},
                                         Size{32, 3, 6, 85}, Size{44, 4, 8, 130},
                                         Size{48, 4, 9, 240}, Size{64, 5, 12, 320},
                                         Size{128, 10, 24, 1500}));

TEST(TrayIcon, TheInkStandsOutFromEachColourOfTheScore) {
    for (const int score : {30, 60, 87}) {
        const QImage image = draw(score, 22);
        double ink = 1;
        for (const QPoint& at : inkOf(image)) {
            ink = std::min(ink, luminance(image.pixel(at)));
        }
        EXPECT_GE((luminance(faceOf(score)) + 0.05) / (ink + 0.05), 6.5) << "score " << score;
    }
}

TEST(TrayIcon, TheNumberIsInTheMiddleAndInsideAtAnyOtherSizeToo) {
    for (int pixels = 14; pixels <= 130; ++pixels) {
        for (const int score : {0, 1, 7, 11, 42, 71, 88, 100}) {
            const QRect box = boxOf(inkOf(draw(score, pixels)));
            EXPECT_LE(std::abs(pixels - box.width() - 2 * box.left()), 1)
                << score << " at " << pixels;
            EXPECT_LE(std::abs(pixels - box.height() - 2 * box.top()), 1)
                << score << " at " << pixels;
            EXPECT_GE(box.left(), 1) << score << " at " << pixels;
        }
    }
}

TEST(TrayIcon, TheNumberOf44PixelsIsOnWholePixelsStillWhenItIsHalved) {
    for (int score = 0; score <= 100; ++score) {
        const QRect box = boxOf(inkOf(draw(score, 44)));
        for (const int place : {box.left(), box.top(), box.width(), box.height()}) {
            EXPECT_EQ(place % 2, 0) << "score " << score;
        }
    }
}

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

TEST(TrayIconPainter, WhatItKeepsLooksAsIfItWerePaintedAnew) {
    TrayIconPainter painter;
    for (const bool awake : {false, true, false}) {
        for (int score = 0; score <= 100; ++score) {
            for (const int pixels : {7, 8, 16, 22, 28, 32, 44, 45, 64}) {
                ASSERT_EQ(painter.draw(statusTitle(score, awake), pixels),
                          draw(score, pixels, awake))
                    << score << " in " << pixels << (awake ? ", awake" : "");
            }
        }
    }
}

TEST(TrayIconPainter, TheTilesOfTheLastThreeColoursAreKept) {
    constexpr int kNoNumber = 7; // pixels: the picture is the tile
    TrayIconPainter painter;
    const auto tile = [&painter](std::uint8_t red) {
        StatusTitle title = statusTitle(70, false);
        title.colour = {static_cast<double>(red) / 255, 0, 0};
        return painter.draw(title, kNoNumber);
    };
    const QImage first = tile(1);
    const QImage second = tile(2);
    const QImage third = tile(3);
    EXPECT_EQ(tile(1).cacheKey(), first.cacheKey());
    EXPECT_EQ(tile(2).cacheKey(), second.cacheKey());
    tile(4);
    EXPECT_NE(tile(3).cacheKey(), third.cacheKey()) << "it was the one of longest ago";
    EXPECT_EQ(tile(2).cacheKey(), second.cacheKey());
}

TEST(TrayIconPainter, AnotherColourOfTheSameScoreIsPainted) {
    TrayIconPainter painter;
    StatusTitle title = statusTitle(70, false);
    painter.draw(title, 32);
    title.colour = {0, 0, 1};
    EXPECT_EQ(painter.draw(title, 32), drawTrayIcon(title, 32));
}

} // namespace
} // namespace korvel::platform
