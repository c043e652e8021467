#include "base/fatal.h"

#include <cmath>
#include <csignal>
#include <limits>

#include <gtest/gtest.h>

namespace korvel {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

// The program ends without a word: the pattern is that of an empty standard error.
#define EXPECT_FATAL(statement) EXPECT_EXIT(statement, testing::KilledBySignal(SIGABRT), "^$")

TEST(FatalDeathTest, EndsTheProcessSilently) {
    EXPECT_FATAL(fatal());
}

TEST(CheckedInt, TruncatesTowardZero) {
    const struct {
        double value;
        std::int64_t expected;
    } cases[] = {{0, 0},
                 {-0.0, 0},
                 {0.5, 0},
                 {0.999, 0},
                 {9.99, 9},
                 {49.9, 49},
                 {-0.5, 0},
                 {-1.9, -1},
                 {1699999999.999999, 1699999999},
                 {0x1p62, std::int64_t{1} << 62}};
    for (const auto& row : cases) {
        EXPECT_EQ(checkedInt(row.value), row.expected) << row.value;
    }
}

TEST(CheckedInt, TakesAllThatFits) {
    EXPECT_EQ(checkedInt(-0x1p63), kSmallest);
    EXPECT_EQ(checkedInt(std::nextafter(0x1p63, 0)), 9223372036854774784);
}

TEST(CheckedIntDeathTest, EverythingElseIsFatal) {
    EXPECT_FATAL(checkedInt(kNaN));
    EXPECT_FATAL(checkedInt(-kNaN));
    EXPECT_FATAL(checkedInt(kInfinity));
    EXPECT_FATAL(checkedInt(-kInfinity));
    EXPECT_FATAL(checkedInt(0x1p63));
    EXPECT_FATAL(checkedInt(std::nextafter(-0x1p63, -kInfinity)));
}

TEST(CheckedSubtract, GivesTheDifferenceOfCounters) {
    EXPECT_EQ(checkedSubtract(std::uint32_t{7}, std::uint32_t{7}), 0U);
    EXPECT_EQ(checkedSubtract(std::uint32_t{4294967295}, std::uint32_t{0}), 4294967295U);
}

TEST(CheckedSubtract, GivesTheDifferenceOfTimes) {
    EXPECT_EQ(checkedSubtract(std::int64_t{5}, std::int64_t{9}), -4);
    EXPECT_EQ(checkedSubtract(kLargest, std::int64_t{0}), kLargest);
    EXPECT_EQ(checkedSubtract(std::int64_t{-1}, kLargest), kSmallest);
}

TEST(CheckedSubtractDeathTest, CounterThatRanBackwardsIsFatal) {
    EXPECT_FATAL(checkedSubtract(std::uint32_t{6}, std::uint32_t{7}));
    EXPECT_FATAL(checkedSubtract(std::uint32_t{0}, std::uint32_t{4294967295}));
}

TEST(CheckedSubtractDeathTest, OverflowIsFatal) {
    EXPECT_FATAL(checkedSubtract(kLargest, std::int64_t{-1}));
    EXPECT_FATAL(checkedSubtract(std::int64_t{-2}, kLargest));
    EXPECT_FATAL(checkedSubtract(std::int64_t{0}, kSmallest));
}

} // namespace
} // namespace korvel
