#include "platform/linux/kernel/thermal_rule.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/thermal_reader.h"
#include "platform/linux/kernel/zone_kind.h"
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

TEST(CredibleTrips, ThoseOfFortyDegreesAndMoreUnlessOneThatStopsTheMachineIsLower) {
    using Kind = TripPoint::Kind;
    const auto left = [](std::vector<TripPoint> trips) {
        return credibleTrips(std::move(trips)).size();
    };
    EXPECT_EQ(left({{Kind::passive, 95000, 0}, {Kind::critical, 105000, 0}}), 2U);
    EXPECT_EQ(left({{Kind::passive, 39999, 0}, {Kind::critical, 40000, 0}}), 1U);
    EXPECT_EQ(left({{Kind::passive, 95000, 0}, {Kind::critical, 20800, 0}}), 0U);
    EXPECT_EQ(left({{Kind::passive, 95000, 0}, {Kind::hot, 39999, 0}}), 0U);
    EXPECT_EQ(left({}), 0U);
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
    void zone(const std::string& name, const std::string& passive, const std::string& temperature,
              const std::string& type = "") {
        const std::string path = "sys/class/thermal/" + name + "/";
        tree_.write(path + "type", type);
        tree_.write(path + "trip_point_0_type", "passive\n");
        tree_.write(path + "trip_point_0_temp", passive);
        tree_.write(path + "temp", temperature);
    }

    void coretemp(const std::string& temperature, const std::string& limit) {
        const std::string path = "sys/class/hwmon/hwmon1/";
        tree_.write(path + "name", "coretemp\n");
        tree_.write(path + "temp1_label", "Package id 0\n");
        tree_.write(path + "temp1_crit", limit);
        tree_.write(path + "temp1_input", temperature);
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
    EXPECT_TRUE(reader_.reports());
}

TEST_F(ThermalReaderTest, TheProcessorsOwnSensorIsAskedAndTheZonesAreNot) {
    coretemp("96000\n", "100000\n");
    zone("thermal_zone0", "90000\n", "96000\n", "acpitz\n");
    zone("thermal_zone1", "90000\n", "96000\n", "cpu-thermal\n");
    EXPECT_EQ(next(), 1) << "of the sensor";
    EXPECT_TRUE(reader_.reports());
    for (const std::string& path : calls_.paths) {
        EXPECT_EQ(path.find("thermal_zone"), std::string::npos) << path;
    }
    tree_.write("sys/class/hwmon/hwmon1/temp1_input", "-274000\n");
    for (int reading = 0; reading < 3; ++reading) {
        EXPECT_EQ(next(), 1) << "stands";
    }
    EXPECT_EQ(next(), 2) << "of the zones, when the sensor fails";
}

TEST_F(ThermalReaderTest, AZoneOfTheProcessorIsAskedBeforeThatOfFirmware) {
    zone("thermal_zone0", "90000\n", "96000\n", "acpitz\n");
    zone("thermal_zone1", "90000\n", "86000\n", "cpu-thermal\n");
    EXPECT_EQ(next(), 1);
    for (const auto& [path, times] : calls_.timesRead()) {
        EXPECT_FALSE(path.ends_with("thermal_zone0/temp"));
    }
}

TEST_F(ThermalReaderTest, ZonesOfOtherThingsNeverDecide) {
    for (const char* type : {"iwlwifi_1\n", "BAT0\n", "nvme\n", "pch_skylake\n", "skin-therm\n",
                             "INT3400 Thermal\n", "gpu-thermal\n", "x86_pkg_temp\n", "soc\n"}) {
        zone("thermal_zone0", "60000\n", "99000\n", type);
        CountingCalls calls;
        ThermalReader reader(calls, tree_.root() + "/");
        EXPECT_EQ(reader.state(), 0) << type;
        EXPECT_FALSE(reader.reports()) << type;
    }
}

TEST_F(ThermalReaderTest, ACriticalTripThatNoProcessorHasDoesNotDecide) {
    for (const auto& [critical, temperature] : std::vector<std::pair<const char*, const char*>>{
             {"20800\n", "16800\n"}, {"39999\n", "39999\n"}, {"950\n", "940\n"}}) {
        tree_.write("sys/class/thermal/thermal_zone0/trip_point_1_type", "critical\n");
        tree_.write("sys/class/thermal/thermal_zone0/trip_point_1_temp", critical);
        zone("thermal_zone0", "70000\n", temperature, "acpitz\n");
        CountingCalls calls;
        ThermalReader reader(calls, tree_.root() + "/");
        EXPECT_EQ(reader.state(), 0) << critical;
        EXPECT_FALSE(reader.reports()) << critical;
    }
}

TEST_F(ThermalReaderTest, AFirmwareZoneThatNeverMovesWhileOthersDoIsNotBelieved) {
    zone("thermal_zone0", "100000\n", "102000\n", "acpitz\n");
    zone("thermal_zone1", "", "40000\n", "x86_pkg_temp\n");
    const auto nextAndOther = [this](int reading) {
        tree_.write("sys/class/thermal/thermal_zone1/temp",
                    reading % 2 == 0 ? "40000\n" : "40001\n");
        return next();
    };
    for (int reading = 0; reading < 2 * kReadingsAMinute; ++reading) {
        EXPECT_EQ(next(), 2) << "nothing moves";
    }
    EXPECT_EQ(nextAndOther(1), 2);
    EXPECT_EQ(nextAndOther(2), 2);
    EXPECT_EQ(nextAndOther(3), 0);
    EXPECT_FALSE(reader_.reports());
    EXPECT_EQ(next(), 0) << "and not when the others stand still, too";
    tree_.write("sys/class/thermal/thermal_zone0/temp", "101900\n");
    EXPECT_EQ(next(), 2) << "it moves after all";
    EXPECT_TRUE(reader_.reports());
}

TEST_F(ThermalReaderTest, AFirmwareZoneThatHasMovedIsBelievedForAMinuteOfStandingStill) {
    zone("thermal_zone0", "100000\n", "102000\n", "acpitz\n");
    zone("thermal_zone1", "200000\n", "40000\n", "acpitz\n");
    zone("thermal_zone2", "90000\n", "40000\n", "acpitz\n");
    EXPECT_EQ(next(), 2);
    tree_.write("sys/class/thermal/thermal_zone0/temp", "103000\n");
    const auto nextAndOther = [this](int reading, const char* to) {
        tree_.write("sys/class/thermal/thermal_zone2/temp", reading % 2 == 0 ? to : "40000\n");
        return next();
    };
    for (int reading = 0; reading < 2 * kReadingsAMinute; ++reading) {
        EXPECT_EQ(nextAndOther(reading, "42999\n"), 2) << "others move no more than their noise";
    }
    for (int reading = 0; reading < kReadingsAMinute - 1; ++reading) {
        EXPECT_EQ(nextAndOther(reading, "43000\n"), 2) << reading;
    }
    EXPECT_EQ(nextAndOther(1, "43000\n"), 0);
    EXPECT_TRUE(reader_.reports()) << "of the zone that moves";
    tree_.write("sys/class/thermal/thermal_zone0/temp", "102000\n");
    EXPECT_EQ(next(), 2);
}

TEST_F(ThermalReaderTest, ARiseThatTheNextReadingDoesNotBearOutIsPassedOver) {
    zone("thermal_zone0", "95000\n", "45000\n", "acpitz\n");
    const auto read = [this](const char* temperature) {
        tree_.write("sys/class/thermal/thermal_zone0/temp", temperature);
        return next();
    };
    EXPECT_EQ(read("45000\n"), 0);
    for (int repeat = 0; repeat < 5; ++repeat) {
        EXPECT_EQ(read("128000\n"), 0);
        EXPECT_EQ(read("46000\n"), 0);
    }
    EXPECT_EQ(read("96000\n"), 0);
    EXPECT_EQ(read("97000\n"), 2) << "the second says it too";
    EXPECT_EQ(read("57000\n"), 0) << "a fall is believed at once";
    EXPECT_EQ(read("97000\n"), 2) << "and so is a rise of forty degrees";
}

TEST_F(ThermalReaderTest, AZoneThatTakesAnothersNumberIsReadForWhatItIs) {
    zone("thermal_zone0", "90000\n", "20000\n", "acpitz\n");
    EXPECT_EQ(next(), 0);
    calls_.failRead = [](int) { return ENODEV; };
    next();
    calls_.failRead = nullptr;
    zone("thermal_zone0", "90000\n", "96000\n", "iwlwifi_1\n");
    for (int reading = 0; reading < kReadingsAMinute; ++reading) {
        EXPECT_EQ(next(), 0);
    }
}

TEST_F(ThermalReaderTest, AFolderThatIsNotThereIsLookedForEveryTenMinutes) {
    next();
    const int before = calls_.opens;
    for (int reading = 0; reading < 10 * kReadingsAMinute; ++reading) {
        next();
    }
    EXPECT_EQ(calls_.opens - before, 2 + 10) << "and that of the processors every minute";
    EXPECT_FALSE(reader_.reports());
    coretemp("96000\n", "100000\n");
    for (int reading = 0; reading < 10 * kReadingsAMinute; ++reading) {
        next();
    }
    EXPECT_EQ(next(), 1);
}

TEST(ZoneKind, TypesAreKnownByWhatTheyName) {
    for (const char* type : {"cpu-thermal",
                             "cpu_thermal",
                             "cpu0-thermal",
                             "CPU-therm",
                             "bigcpu",
                             "TCPU",
                             "TCPU_PCI",
                             "B0D4",
                             "soc-thermal",
                             "soc_dts0",
                             "package-thermal",
                             "bigcore0-thermal",
                             "mtktscpu",
                             "littlecore-thermal",
                             "cpuss-0-usr",
                             "cpu-1-0-usr",
                             "cluster0-thermal",
                             "BIG",
                             "MID",
                             "LITTLE"}) {
        EXPECT_EQ(zoneKind(type + std::string("\n")), ZoneKind::processor) << type;
    }
    for (const char* type : {"iwlwifi_1",
                             "mt7915_phy0",
                             "wlan-therm",
                             "BAT0",
                             "battery",
                             "mtktscharger",
                             "nvme",
                             "drivetemp",
                             "pch_cannonlake",
                             "skin-therm",
                             "INT3400 Thermal",
                             "gpu-thermal",
                             "GPU-therm",
                             "G3D",
                             "ddr-usr",
                             "modem-0-usr",
                             "pmic",
                             "camera-thermal",
                             "usb-therm",
                             "x86_pkg_temp",
                             "soc",
                             "socd",
                             "thermal-fan-est"}) {
        EXPECT_EQ(zoneKind(type + std::string("\n")), ZoneKind::foreign) << type;
    }
    for (const char* type : {"acpitz", "thermal", "imx_thermal_zone", "tsens_tz_sensor0", "SEN1"}) {
        EXPECT_EQ(zoneKind(type + std::string("\n")), ZoneKind::firmware) << type;
    }
    EXPECT_EQ(zoneKind(""), ZoneKind::firmware);
    EXPECT_EQ(zoneKind("cpu-thermal"), ZoneKind::firmware) << "cut short";
}

} // namespace
} // namespace korvel::platform
