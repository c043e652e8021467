#include "platform/linux/kernel/throttle_rule.h"

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/throttle_counters.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

using std::chrono::milliseconds;

constexpr std::uint64_t kUnread = ~std::uint64_t{0};

struct CountStep {
    int after;           ///< milliseconds since the reading before
    std::uint64_t total; ///< milliseconds of throttling since the start
    int state;
};

struct Throttling {
    const char* name;
    std::vector<CountStep> steps;
};

TEST(ThrottleRule, TheShareOfTheLastFifteenSecondsGivesTheState) {
    for (const Throttling& walk : std::vector<Throttling>{
             {"what was before the first reading does not count", {{0, 90'000, 0}}},
             {"a millisecond is nothing", {{0, 1804, 0}, {5000, 1805, 0}, {5000, 1805, 0}}},
             {"a short excursion at every reading is nothing",
              {{0, 0, 0}, {5000, 400, 0}, {5000, 800, 0}, {5000, 1200, 0}, {5000, 1600, 0}}},
             {"serious from a tenth of the time", {{0, 0, 0}, {5000, 499, 0}, {5000, 1000, 2}}},
             {"serious until it is under a twentieth",
              {{0, 0, 0},
               {5000, 1000, 2},
               {5000, 1000, 2},
               {5000, 1000, 2}, // 1 s of 15
               {5000, 1750, 2}, // 0.75 s of 15
               {5000, 1750, 2},
               {5000, 1750, 2},
               {5000, 1750, 0}}},
             {"what lies more than fifteen seconds back is over",
              {{0, 0, 0},
               {5000, 5000, 3},
               {5000, 5000, 3},
               {5000, 5000, 3}, // a third is not under a quarter
               {5000, 5000, 0}}},
             {"critical from a half until it is under a quarter",
              {{0, 0, 0},
               {5000, 2499, 2},
               {5000, 5000, 3},
               {5000, 5000, 3}, // a third
               {5000, 6248, 2}, // 3.749 of 15 s
               {5000, 7500, 2}}},
             {"sixty percent of the time is critical",
              {{0, 0, 0}, {5000, 3000, 3}, {5000, 6000, 3}, {5000, 9000, 3}}},
             {"a long throttling is counted at its end and fills the time before",
              {{0, 0, 0},
               {5000, 0, 0},
               {5000, 0, 0},
               {5000, 0, 0},
               {5000, 60'000, 3},
               {5000, 60'000, 3},
               {5000, 60'000, 3},
               {5000, 60'000, 0}}},
             {"readings that come close together make no share of a millisecond",
              {{0, 0, 0}, {1, 1, 0}, {1, 2, 0}, {0, 3, 0}, {5000, 3, 0}}},
             {"a long interval is measured whole",
              {{0, 0, 0}, {600'000, 5000, 0}, {5000, 5000, 0}, {100'000, 15'000, 2}}},
             {"counting starts anew when the count falls",
              {{0, 50'000, 0}, {5000, 53'000, 3}, {5000, 7, 0}, {5000, 1007, 2}}},
             {"a count that fails leaves the state for three readings",
              {{0, 0, 0},
               {5000, 1000, 2},
               {5000, kUnread, 2},
               {5000, kUnread, 2},
               {5000, kUnread, 2},
               {5000, kUnread, 0}}},
             {"what grew meanwhile belongs to the whole interval",
              {{0, 0, 0}, {5000, kUnread, 0}, {5000, 999, 0}, {5000, 1500, 2}}},
         }) {
        ThrottleRule rule;
        ThrottleRule::Moment now;
        for (std::size_t i = 0; i < walk.steps.size(); ++i) {
            const CountStep& step = walk.steps[i];
            now += milliseconds(step.after);
            const bool isRead = step.total != kUnread;
            EXPECT_EQ(rule.state(isRead ? std::optional(step.total) : std::nullopt, now),
                      step.state)
                << walk.name << ", step " << i;
        }
    }
}

class ThrottleCountersTest : public testing::Test {
  protected:
    static std::string folder(int cpu) {
        return "sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/";
    }
    void package(int cpu, int package, const std::string& total) {
        tree_.write(folder(cpu) + "topology/physical_package_id", std::to_string(package) + "\n");
        tree_.write(folder(cpu) + "thermal_throttle/package_throttle_total_time_ms", total);
    }
    void core(int cpu, int core, const std::string& total) {
        tree_.write(folder(cpu) + "topology/physical_package_id", "0\n");
        tree_.write(folder(cpu) + "topology/core_id", std::to_string(core) + "\n");
        tree_.write(folder(cpu) + "thermal_throttle/core_throttle_total_time_ms", total);
    }
    std::optional<int> next() {
        now_ += std::chrono::seconds(5);
        return counters_.state(now_);
    }

    TempTree tree_;
    CountingCalls calls_;
    ThrottleCounters counters_{calls_, tree_.root() + "/"};
    ThrottleRule::Moment now_;
};

TEST_F(ThrottleCountersTest, WithoutACounterThereIsNoState) {
    counters_.find();
    EXPECT_EQ(next(), std::nullopt);
    tree_.write(folder(0) + "topology/core_id", "0\n");
    tree_.write(folder(1) + "topology/core_id", "1\n");
    const int before = calls_.opens;
    counters_.find();
    EXPECT_EQ(next(), std::nullopt);
    EXPECT_EQ(calls_.opens - before, 2) << "the folder of the processors and one processor's";
}

TEST_F(ThrottleCountersTest, EachPackageIsAskedThroughOneOfItsProcessors) {
    for (int cpu = 0; cpu < 8; ++cpu) {
        package(cpu, cpu / 4, "0\n");
    }
    counters_.find();
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(next(), 0);
    const int before = calls_.reads;
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(calls_.reads - before, 2) << "two files";
    package(4, 1, "2000\n");
    EXPECT_EQ(next(), 2) << "the second package";
}

TEST_F(ThrottleCountersTest, WherePackagesAreNotCountedCoresAre) {
    for (int cpu = 0; cpu < 4; ++cpu) {
        core(cpu, cpu / 2, "0\n");
    }
    counters_.find();
    EXPECT_EQ(next(), 0);
    const int before = calls_.reads;
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(calls_.reads - before, 2) << "two files";
    core(2, 1, "9000\n");
    EXPECT_EQ(next(), 3) << "the second core";
}

TEST_F(ThrottleCountersTest, ARestOfTheCounterThatIsNoNumberIsNoCount) {
    for (const char* bad : {"", "\n", "12", "-1\n", "rubbish\n", "1.5\n", "1 2\n"}) {
        package(0, 0, "0\n");
        counters_.find();
        EXPECT_EQ(next(), 0) << bad;
        package(0, 0, bad);
        EXPECT_EQ(next(), 0) << bad;
        for (int reading = 0; reading < 3; ++reading) {
            next();
        }
        EXPECT_EQ(next(), std::nullopt) << bad;
    }
}

TEST_F(ThrottleCountersTest, AProcessorThatIsTakenOfflineIsReplacedByAnother) {
    package(0, 0, "0\n");
    package(1, 0, "0\n");
    counters_.find();
    EXPECT_EQ(next(), 0);
    // Its folder stays, its counters go.
    tree_.remove(folder(0) + "thermal_throttle");
    calls_.failRead = [](int) { return ENODEV; };
    next();
    calls_.failRead = nullptr;
    counters_.find();
    EXPECT_EQ(next(), 0);
    package(1, 0, "4000\n");
    EXPECT_EQ(next(), 3);
    tree_.remove(folder(1).substr(0, folder(1).size() - 1));
    package(2, 0, "9000\n");
    counters_.find();
    EXPECT_EQ(next(), 0);
    package(2, 0, "12000\n");
    EXPECT_EQ(next(), 3) << "another whose folder is gone";
}

} // namespace
} // namespace korvel::platform
