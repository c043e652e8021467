#include "platform/posix/cpu_tick_record.h"

#include <limits>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using Start = CpuTickRecord::Start;
using Sums = CpuTickRecord::Sums;

constexpr std::uint64_t kQuarter = std::uint64_t{1} << 30;
constexpr std::uint64_t kHalf = std::uint64_t{1} << 31;

Sums counts(const CpuTicks& ticks) {
    return {ticks.user, ticks.system, ticks.idle, ticks.nice};
}

TEST(CpuTickRecord, CountsEveryTickBelowAQuarter) {
    CpuTickRecord record(Start::everyTick);
    EXPECT_EQ(counts(record.add({}, 10)), Sums());
    EXPECT_EQ(counts(record.add({1, 2, 3, 4}, 10)), (Sums{1, 2, 3, 4}));
    EXPECT_EQ(counts(record.add({10, 20, kQuarter - 4, 40}, 10)), (Sums{11, 22, kQuarter - 1, 44}));
    EXPECT_EQ(counts(record.add({1, 1, 1, 1}, 10)), (Sums{12, 23, kQuarter, 45}));
}

TEST(CpuTickRecord, CountsTheMeanFromAQuarterAndAnEighthOfItFromHalf) {
    CpuTickRecord record(Start::everyTick);
    record.add({0, 0, kQuarter, 0}, 10);
    EXPECT_EQ(counts(record.add({70, 0, 30, 0}, 10)), (Sums{7, 0, kQuarter + 3, 0}));
    record.add({0, 0, (kHalf - kQuarter - 3) * 10, 0}, 10);
    EXPECT_EQ(counts(record.add({160, 80, 240, 0}, 10)), (Sums{9, 1, kHalf + 3, 0}));
}

TEST(CpuTickRecord, CountsTheMeanFromTheStartWhenToldTo) {
    CpuTickRecord record(Start::meanOfProcessors);
    EXPECT_EQ(counts(record.add({40, 8, 400, 4}, 4)), (Sums{10, 2, 100, 1}));
}

TEST(CpuTickRecord, LosesNoTickToTheDivision) {
    CpuTickRecord record(Start::meanOfProcessors);
    for (int i = 0; i < 6; ++i) {
        record.add({1, 0, 2, 0}, 3);
    }
    EXPECT_EQ(counts(record.add({}, 3)), (Sums{2, 0, 4, 0}));
}

TEST(CpuTickRecord, StandsStillAsAWholeWhenOneCounterIsFull) {
    constexpr std::uint64_t kFull = std::numeric_limits<std::uint32_t>::max();
    CpuTickRecord record(Start::everyTick);
    record.add({5, 0, kHalf, 0}, 2);
    EXPECT_EQ(counts(record.add({0, 0, (kFull - kHalf) * 16, 0}, 2)), (Sums{5, 0, kFull, 0}));
    EXPECT_EQ(counts(record.add({1600, 0, 16, 0}, 2)), (Sums{5, 0, kFull, 0}));
}

} // namespace
} // namespace korvel::platform
