#include "model/history_store.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/generator.h"
#include "support/strict_history.h"

// What is written, and that it comes back. Files that someone else wrote are in
// history_decode_test.cpp.
namespace korvel {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::uint64_t pattern(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void expectSame(const History& points, const History& expected) {
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        ASSERT_EQ(pattern(points[i].t), pattern(expected[i].t)) << i;
        ASSERT_EQ(pattern(points[i].cpu), pattern(expected[i].cpu)) << i;
        ASSERT_EQ(pattern(points[i].mem), pattern(expected[i].mem)) << i;
    }
}

TEST(HistoryPoint, TakesTimeCpuAndMemoryAndMakesAFreshIdentity) {
    std::set<Uuid> ids;
    for (int i = 0; i < 100; ++i) {
        const HistoryPoint point(1.5, 2.5, 3.5);
        EXPECT_EQ(point.t, 1.5);
        EXPECT_EQ(point.cpu, 2.5);
        EXPECT_EQ(point.mem, 3.5);
        ids.insert(point.id);
    }
    EXPECT_EQ(ids.size(), 100U);
}

TEST(EncodeHistory, NoPointsAreAnEmptyArray) {
    EXPECT_EQ(encodeHistory({}), "[]");
}

TEST(EncodeHistory, IsCompactRowsOldestFirst) {
    EXPECT_EQ(encodeHistory({{1700000000.25, 12.5, 40}, {1700000005, 0, 100}}),
              "[[1700000000.25,12.5,40],[1700000005,0,100]]");
}

TEST(EncodeHistory, NumbersStandInShortestForm) {
    const struct {
        double number;
        const char* text;
    } cases[] = {
        {0.1, "0.1"}, {0.1 + 0.2, "0.30000000000000004"},       {5, "5"},
        {-0.0, "-0"}, {1700000000.123456, "1700000000.123456"}, {100.0 / 3, "33.333333333333336"}};
    for (const auto& row : cases) {
        EXPECT_EQ(encodeHistory({{row.number, 0, 0}}), "[[" + std::string(row.text) + ",0,0]]");
    }
}

TEST(EncodeHistory, EachByteIsAsTheLibraryFormatsIt) {
    test::Generator random(34);
    for (int round = 0; round < 300; ++round) {
        History points;
        std::string expected;
        for (std::uint64_t count = random.below(200); count > 0; --count) {
            const bool any = random.below(4) == 0;
            const double t = any ? random.anyFinite() : 1700000000 + random.between(0, 1e9);
            const double cpu = any ? random.anyFinite() : random.between(0, 100);
            const double mem = any ? random.anyFinite() : std::floor(random.between(0, 101));
            points.emplace_back(t, cpu, mem);
            expected += fmt::format("{}[{},{},{}]", expected.empty() ? "" : ",", t, cpu, mem);
        }
        ASSERT_EQ(encodeHistory(points), "[" + expected + "]");
    }
}

TEST(EncodeHistory, NumberThatJsonCannotHoldRefusesTheWhole) {
    for (const double bad : {kNaN, -kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(encodeHistory({{1, 2, 3}, {bad, 2, 3}}), std::nullopt);
        EXPECT_EQ(encodeHistory({{1, bad, 3}, {1, 2, 3}}), std::nullopt);
        EXPECT_EQ(encodeHistory({{1, 2, bad}}), std::nullopt);
    }
}

TEST(HistoryText, IsThatOfAHistoryEncodedAnewHoweverItGoesOn) {
    test::Generator random(35);
    History points;
    HistoryText text(0);
    for (int save = 0; save < 3000; ++save) {
        for (std::uint64_t count = random.below(40); count > 0; --count) {
            points.emplace_back(random.between(0, 2e9), random.between(0, 100), kNaN);
            points.back().mem = random.below(2000) == 0 ? kNaN : std::floor(random.between(0, 101));
        }
        const std::size_t room = random.below(100) == 0 ? 0 : 200 + random.below(2000);
        if (points.size() > room) {
            points.erase(points.begin(), points.end() - static_cast<std::ptrdiff_t>(room));
        }
        if (random.below(50) == 0) {
            for (HistoryPoint& point : points) {
                point = HistoryPoint(point.t + 1, 1, 2); // another one, of the same length
            }
        }
        ASSERT_EQ(text.of(points), encodeHistory(points)) << save;
    }
}

// A point that is changed in place, which nobody does, shows whether its row is written again.
TEST(HistoryText, ARowThatIsThereIsNotWrittenAgain) {
    History points{{1, 2, 3}, {4, 5, 6}};
    HistoryText text(0);
    ASSERT_EQ(text.of(points), "[[1,2,3],[4,5,6]]");
    const auto changeAll = [&points] {
        for (HistoryPoint& point : points) {
            point.cpu = 99;
        }
    };
    changeAll();
    EXPECT_EQ(text.of(points), "[[1,2,3],[4,5,6]]");
    points.emplace_back(7, 8, 9);
    EXPECT_EQ(text.of(points), "[[1,2,3],[4,5,6],[7,8,9]]");
    changeAll();
    points.pop_front();
    EXPECT_EQ(text.of(points), "[[4,5,6],[7,8,9]]");
    points.pop_front();
    points.emplace_back(10, 11, 12);
    EXPECT_EQ(text.of(points), "[[7,8,9],[10,11,12]]") << "one row of before";
    points = {{10, 11, 12}};
    EXPECT_EQ(text.of(points), "[[10,11,12]]") << "none of before";
}

// The end of a text that moves has to be moved back, or it needs ever more room; at each save that
// would cost a copy of the whole.
TEST(HistoryText, MovesBackOnceSixtyFourKibibytesBeforeItAreUnused) {
    constexpr std::size_t kRows = 2000;
    constexpr std::ptrdiff_t kMostUnused = 64 << 10;
    constexpr std::ptrdiff_t kBytesOfASave = 10 * 24;
    History points(kRows, HistoryPoint(1700000000.5, 12.5, 40));
    HistoryText text(kRows + 2000);
    const char* const first = text.of(points)->data();
    std::ptrdiff_t furthest = 0;
    for (int save = 0; save < 2000; ++save) {
        for (int row = 0; row < 10; ++row) {
            points.emplace_back(1700000000.5, 12.5, 40);
            points.pop_front();
        }
        const std::ptrdiff_t moved = text.of(points)->data() - first;
        ASSERT_TRUE(moved >= 0 && moved <= kMostUnused) << moved;
        furthest = std::max(furthest, moved);
    }
    EXPECT_GT(furthest, kMostUnused - kBytesOfASave);
}

TEST(History, AnyNumbersComeBackBitForBit) {
    test::Generator random(31);
    History points;
    for (int i = 0; i < 20000; ++i) {
        points.emplace_back(random.anyFinite(), random.anyFinite(), random.anyFinite());
    }
    expectSame(decodeHistory(encodeHistory(points).value()), points);
}

TEST(History, NumbersOfARealTrailComeBackBitForBit) {
    test::Generator random(32);
    History points;
    for (std::size_t i = 0; i < kHistoryCap; ++i) {
        points.emplace_back(1700000000 + 5 * static_cast<double>(i) + random.between(0, 0.01),
                            random.between(0, 100), random.between(0, 100));
    }
    expectSame(decodeHistory(encodeHistory(points).value()), points);
}

TEST(History, NumbersAtTheEdgesComeBackBitForBit) {
    using Limits = std::numeric_limits<double>;
    const History points{{0.0, -0.0, 1},
                         {Limits::max(), Limits::lowest(), Limits::min()},
                         {Limits::denorm_min(), -Limits::denorm_min(), Limits::epsilon()},
                         {0x1p53, 0x1p53 + 2, 9007199254740993.0},
                         {9223372036854775807.0, 18446744073709551615.0, 1e22},
                         {1e23, 1e15, 1e16},
                         {2.2250738585072011e-308, 5e-324, 0.1 + 0.2}};
    expectSame(decodeHistory(encodeHistory(points).value()), points);
}

TEST(History, LoadedPointsHaveIdentitiesOfTheirOwn) {
    const History points = decodeHistory("[[1,2,3],[1,2,3]]");
    ASSERT_EQ(points.size(), 2U);
    EXPECT_NE(points[0].id, points[1].id);
    EXPECT_EQ(encodeHistory(points)->find('"'), std::string::npos) << "none is stored";
}

TEST(History, EncodedTextIsStrictJson) {
    test::Generator random(33);
    History points;
    for (int i = 0; i < 2000; ++i) {
        points.emplace_back(random.anyFinite(), random.anyFinite(), random.anyFinite());
    }
    const auto rows = test::StrictHistory::read(encodeHistory(points).value());
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        ASSERT_EQ((*rows)[i], (std::vector{points[i].t, points[i].cpu, points[i].mem}));
    }
}

TEST(History, FileCutAtAnyLengthGivesItsPointsOrNone) {
    const std::string text =
        encodeHistory({{1700000000.25, 12.5, 40.125}, {1700000005.5, 0, 1e-7}}).value();
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_TRUE(decodeHistory(text.substr(0, length)).empty()) << text.substr(0, length);
    }
    EXPECT_EQ(decodeHistory(text).size(), 2U);
    EXPECT_EQ(decodeHistory(text + "\n").size(), 2U);
}

} // namespace
} // namespace korvel
