#include "platform/linux/kernel/thermal_rule.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/thermal_reader.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr int kReadingsAMinute = 12;

TEST(Temperature, IsAWholeNumberOfMillidegreesThatAMachineCanHave) {
    EXPECT_EQ(parseTemperature("54000\n"), 54000);
    EXPECT_EQ(parseTemperature("1\n"), 1);
    EXPECT_EQ(parseTemperature("149999\n"), 149999);
    for (const char* bad : {"", "\n", "54000", "0\n", "-1\n", "-273000\n", "150000\n", "54.5\n",
                            "hot\n", "54000 C\n", "99999999999999999999\n"}) {
        EXPECT_FALSE(parseTemperature(bad)) << '"' << bad << '"';
    }
}

TEST(TripPoint, OnlyThrottlingKindsWithARealTemperatureCount) {
    const auto passive = parseTripPoint("passive\n", "95000\n", "2000\n");
    ASSERT_TRUE(passive);
    EXPECT_EQ(passive->kind, TripPoint::Kind::passive);
    EXPECT_EQ(passive->temperature, 95000);
    EXPECT_EQ(passive->hysteresis, 2000);
    EXPECT_EQ(parseTripPoint("hot\n", "1\n", "0\n")->kind, TripPoint::Kind::hot);
    EXPECT_EQ(parseTripPoint("critical\n", "1\n", "0\n")->kind, TripPoint::Kind::critical);
    for (const char* kind : {"active\n", "", "passive", "Passive\n", "passive trip\n"}) {
        EXPECT_FALSE(parseTripPoint(kind, "95000\n", "2000\n")) << '"' << kind << '"';
    }
    for (const char* dummy : {"0\n", "-273000\n", "150000\n", "", "x\n"}) {
        EXPECT_FALSE(parseTripPoint("passive\n", dummy, "2000\n")) << '"' << dummy << '"';
    }
}

TEST(TripPoint, AHysteresisThatMakesNoSenseIsNone) {
    for (const char* width : {"", "x\n", "-1\n", "20001\n"}) {
        EXPECT_EQ(parseTripPoint("passive\n", "95000\n", width)->hysteresis, 0) << width;
    }
    EXPECT_EQ(parseTripPoint("passive\n", "95000\n", "20000\n")->hysteresis, 20000);
}

struct Warming {
    const char* name;
    std::vector<TripPoint> trips;
    std::vector<std::pair<std::int64_t, int>> steps; ///< millidegrees (0: unread) and state
};

TEST(ThermalZoneRule, StatesAreEnteredAtTheirTripsAndLeftAHysteresisLower) {
    using Kind = TripPoint::Kind;
    const TripPoint passive{Kind::passive, 90000, 3000};
    const TripPoint hot{Kind::hot, 100000, 2000};
    const TripPoint critical{Kind::critical, 110000, 0};
    for (const Warming& walk : std::vector<Warming>{
             {"no trips", {}, {{149000, 0}}},
             {"fair within five degrees of a passive trip",
              {passive},
              {{84999, 0}, {85000, 1}, {89999, 1}}},
             {"serious at a passive trip", {passive}, {{90000, 2}, {149000, 2}}},
             {"fair is left below its threshold by the width",
              {passive},
              {{85000, 1}, {82000, 1}, {81999, 0}, {84999, 0}}},
             {"serious falls to fair, then to nominal",
              {passive},
              {{90000, 2}, {87000, 2}, {86999, 1}, {82000, 1}, {81999, 0}}},
             {"critical at a hot trip",
              {passive, hot},
              {{99999, 2}, {100000, 3}, {98000, 3}, {97999, 2}}},
             {"critical within five degrees of the critical trip",
              {critical},
              {{104999, 0}, {105000, 3}, {104999, 0}}},
             {"a reading that fails leaves the state for three readings",
              {passive},
              {{90000, 2}, {0, 2}, {0, 2}, {0, 2}, {0, 0}, {89000, 1}}},
             {"a reading between failures starts the count again",
              {passive},
              {{90000, 2}, {0, 2}, {0, 2}, {90000, 2}, {0, 2}, {0, 2}, {0, 2}, {0, 0}}},
         }) {
        ThermalZoneRule rule(walk.trips);
        for (std::size_t i = 0; i < walk.steps.size(); ++i) {
            const auto [temperature, state] = walk.steps[i];
            EXPECT_EQ(rule.state(temperature == 0 ? std::nullopt : std::optional(temperature)),
                      state)
                << walk.name << ", step " << i;
        }
    }
}

class ThermalReaderTest : public testing::Test {
  protected:
    void zone(const std::string& name, const std::string& passive, const std::string& temperature) {
        const std::string path = "sys/class/thermal/" + name + "/";
        tree_.write(path + "trip_point_0_type", "passive\n");
        tree_.write(path + "trip_point_0_temp", passive);
        tree_.write(path + "temp", temperature);
    }

    /// Five seconds later.
    int next() {
        now_ += std::chrono::seconds(5);
        return reader_.state();
    }

    TempTree tree_;
    CountingCalls calls_;
    std::chrono::steady_clock::time_point now_;
    ThermalReader reader_{calls_, tree_.root() + "/", [this] { return now_; }};
};

TEST_F(ThermalReaderTest, WithoutZonesTheStateIsNominal) {
    EXPECT_EQ(reader_.state(), 0);
}

TEST_F(ThermalReaderTest, TheHottestZoneCounts) {
    zone("thermal_zone0", "90000\n", "20000\n");
    zone("thermal_zone1", "90000\n", "91000\n");
    zone("thermal_zone11", "90000\n", "86000\n");
    EXPECT_EQ(reader_.state(), 2);
    tree_.write("sys/class/thermal/thermal_zone1/temp", "20000\n");
    EXPECT_EQ(reader_.state(), 1);
}

TEST_F(ThermalReaderTest, FoldersThatAreNoZonesArePassedOver) {
    zone("cooling_device0", "90000\n", "99000\n");
    zone("thermal_zone", "90000\n", "99000\n");
    zone("thermal_zone0x", "90000\n", "99000\n");
    EXPECT_EQ(reader_.state(), 0);
}

TEST_F(ThermalReaderTest, ADisabledZoneAndOneWithDummiesDoNotCount) {
    zone("thermal_zone0", "90000\n", "99000\n");
    tree_.write("sys/class/thermal/thermal_zone0/mode", "disabled\n");
    zone("thermal_zone1", "-273000\n", "99000\n");
    zone("thermal_zone2", "90000\n", "250000\n");
    EXPECT_EQ(reader_.state(), 0);
    tree_.write("sys/class/thermal/thermal_zone0/mode", "enabled\n");
    EXPECT_EQ(reader_.state(), 2);
}

TEST_F(ThermalReaderTest, ATemperatureThatFailsForAMomentLeavesTheState) {
    zone("thermal_zone0", "90000\n", "99000\n");
    EXPECT_EQ(reader_.state(), 2);
    for (const int error : {EAGAIN, ENODATA, EIO}) {
        calls_.failRead = [error](int) { return error; };
        EXPECT_EQ(reader_.state(), 2) << error;
        calls_.failRead = nullptr;
        EXPECT_EQ(reader_.state(), 2) << error;
    }
    calls_.failRead = [](int) { return EIO; };
    for (int reading = 0; reading < 4; ++reading) {
        reader_.state();
    }
    EXPECT_EQ(reader_.state(), 0);
}

TEST_F(ThermalReaderTest, ZonesThatComeAndGoAreNoticedWithinAMinute) {
    zone("thermal_zone0", "90000\n", "91000\n");
    EXPECT_EQ(reader_.state(), 2);
    tree_.remove("sys/class/thermal/thermal_zone0");
    zone("thermal_zone1", "90000\n", "86000\n");
    for (int reading = 0; reading < kReadingsAMinute; ++reading) {
        reader_.state();
    }
    EXPECT_EQ(reader_.state(), 1);
}

TEST_F(ThermalReaderTest, AThrottledProcessorIsSeriousByTheShareOfTime) {
    const std::string path = "sys/devices/system/cpu/cpu3/";
    const std::string total = path + "thermal_throttle/package_throttle_total_time_ms";
    tree_.write("sys/devices/system/cpu/cpufreq/boost", "1\n");
    tree_.write(path + "topology/physical_package_id", "0\n");
    tree_.write(total, "1804\n");
    EXPECT_EQ(next(), 0) << "since boot is not since the last sample";
    tree_.write(total, "1805\n");
    EXPECT_EQ(next(), 0) << "a millisecond is no heat";
    tree_.write(total, "2805\n");
    EXPECT_EQ(next(), 2) << "a second of ten is";
}

} // namespace
} // namespace korvel::platform
