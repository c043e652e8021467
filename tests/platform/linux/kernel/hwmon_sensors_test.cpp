#include "platform/linux/kernel/hwmon_sensors.h"

#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

/// The files of a device, without their newlines.
using Files = std::map<std::string, std::string>;

class HwmonSensorsTest : public testing::Test {
  protected:
    void device(const std::string& name, const Files& files) {
        const std::string folder = "sys/class/hwmon/" + name + "/";
        for (const auto& [file, text] : files) {
            tree_.write(folder + file, text + "\n");
        }
    }
    std::optional<int> found() {
        sensors_.find();
        return sensors_.state();
    }

    TempTree tree_;
    CountingCalls calls_;
    HwmonSensors sensors_{calls_, tree_.root() + "/"};
};

struct Described {
    const char* name;
    Files files;
    std::optional<int> state;
};

TEST(HwmonSensors, AProcessorIsHeldAgainstTheLimitOfItsDriver) {
    const auto intel = [](const char* package) {
        return Files{
            {"name", "coretemp"},     {"temp1_label", "Package id 0"}, {"temp1_input", package},
            {"temp1_max", "80000"},   {"temp1_crit", "100000"},        {"temp2_label", "Core 0"},
            {"temp2_input", "99000"}, {"temp2_max", "80000"},          {"temp2_crit", "100000"}};
    };
    const auto ryzen = [](const char* tctl, const char* tdie) {
        return Files{{"name", "k10temp"},
                     {"temp1_label", "Tctl"},
                     {"temp1_input", tctl},
                     {"temp2_label", "Tdie"},
                     {"temp2_input", tdie}};
    };
    const auto older = [](const char* temperature) {
        return Files{{"name", "k10temp"},
                     {"temp1_input", temperature},
                     {"temp1_max", "70000"},
                     {"temp1_crit", "70000"},
                     {"temp1_crit_hyst", "69000"}};
    };
    const auto zenpower = [](const char* tdie, const char* max) {
        return Files{{"name", "zenpower"}, {"temp1_label", "Tdie"}, {"temp1_input", tdie},
                     {"temp1_max", max},   {"temp2_label", "Tctl"}, {"temp2_input", "99000"}};
    };
    const std::vector<Described> cases = {
        {"coretemp far from the limit", intel("94999"), 0},
        {"coretemp over what its fans want", intel("90000"), 0},
        {"coretemp within five degrees of the limit", intel("95000"), 1},
        {"coretemp at 96 of 100", intel("96000"), 1},
        {"coretemp at the limit", intel("100000"), 2},
        {"coretemp over the limit", intel("101000"), 2},
        {"coretemp without a package",
         {{"name", "coretemp"},
          {"temp2_label", "Core 0"},
          {"temp2_input", "60000"},
          {"temp2_crit", "100000"},
          {"temp3_label", "Core 1"},
          {"temp3_input", "97000"},
          {"temp3_crit", "100000"}},
         1},
        {"coretemp with a package that has no limit",
         {{"name", "coretemp"},
          {"temp1_label", "Package id 0"},
          {"temp1_input", "99000"},
          {"temp2_label", "Core 0"},
          {"temp2_input", "60000"},
          {"temp2_crit", "100000"}},
         0},
        {"coretemp without a limit",
         {{"name", "coretemp"},
          {"temp1_label", "Package id 0"},
          {"temp1_input", "99000"},
          {"temp1_max", "80000"}},
         std::nullopt},
        {"k10temp by its die, not by what its fans follow", ryzen("92000", "82000"), 0},
        {"k10temp near what is documented", ryzen("100000", "90000"), 1},
        {"k10temp at what is documented", ryzen("95000", "95000"), 2},
        {"k10temp with the control temperature alone",
         {{"name", "k10temp"}, {"temp1_label", "Tctl"}, {"temp1_input", "91500"}},
         1},
        {"k10temp of an older processor, far from its limit", older("64000"), 0},
        {"k10temp of an older processor, near its limit", older("65000"), 1},
        {"k10temp of an older processor, at its limit", older("70000"), 2},
        {"k10temp of an older processor without a limit: its scale is arbitrary",
         {{"name", "k10temp"}, {"temp1_input", "99000"}, {"temp1_max", "70000"}},
         std::nullopt},
        {"zenpower by its maximum", zenpower("84000", "88000"), 1},
        {"zenpower with a maximum that is none", zenpower("89000", "255000"), 0},
        {"a die that its complexes bear out",
         {{"name", "k10temp"},
          {"temp1_label", "Tctl"},
          {"temp1_input", "96000"},
          {"temp3_label", "Tccd1"},
          {"temp3_input", "66001"},
          {"temp4_label", "Tccd2"},
          {"temp4_input", "50000"}},
         2},
        {"a die whose complexes are all far cooler",
         {{"name", "zenpower"},
          {"temp1_label", "Tdie"},
          {"temp1_input", "96600"},
          {"temp1_max", "95000"},
          {"temp3_label", "Tccd1"},
          {"temp3_input", "47200"},
          {"temp4_label", "Tccd2"},
          {"temp4_input", "66600"}},
         std::nullopt},
        {"a drive",
         {{"name", "nvme"}, {"temp1_input", "84000"}, {"temp1_crit", "84000"}},
         std::nullopt},
        {"a radio", {{"name", "iwlwifi_1"}, {"temp1_input", "99000"}}, std::nullopt},
        {"a graphics card",
         {{"name", "amdgpu"}, {"temp1_input", "99000"}, {"temp1_crit", "100000"}},
         std::nullopt},
        {"a zone's copy",
         {{"name", "acpitz"}, {"temp1_input", "16800"}, {"temp1_crit", "20800"}},
         std::nullopt},
        {"a limit that no processor has",
         {{"name", "coretemp"},
          {"temp1_label", "Package id 0"},
          {"temp1_input", "39000"},
          {"temp1_crit", "39999"}},
         std::nullopt},
    };
    for (const Described& row : cases) {
        TempTree tree;
        for (const auto& [file, text] : row.files) {
            tree.write("sys/class/hwmon/hwmon2/" + file, text + "\n");
        }
        HwmonSensors sensors(FileCalls::system(), tree.root() + "/");
        sensors.find();
        EXPECT_EQ(sensors.state(), row.state) << row.name;
    }
}

TEST_F(HwmonSensorsTest, AStateIsLeftThreeDegreesLowerOrAsTheDriverSays) {
    device("hwmon0", {{"name", "coretemp"},
                      {"temp1_label", "Package id 0"},
                      {"temp1_crit", "100000"},
                      {"temp1_input", "100000"}});
    EXPECT_EQ(found(), 2);
    for (const auto& [temperature, state] : std::vector<std::pair<const char*, int>>{
             {"97000", 2}, {"96999", 1}, {"92000", 1}, {"91999", 0}, {"94999", 0}, {"95000", 1}}) {
        device("hwmon0", {{"temp1_input", temperature}});
        EXPECT_EQ(sensors_.state(), state) << temperature;
    }
    device("hwmon1", {{"name", "k10temp"},
                      {"temp1_crit", "70000"},
                      {"temp1_crit_hyst", "69000"},
                      {"temp1_input", "70000"}});
    EXPECT_EQ(found(), 2);
    device("hwmon1", {{"temp1_input", "69000"}});
    EXPECT_EQ(sensors_.state(), 2);
    device("hwmon1", {{"temp1_input", "68875"}});
    EXPECT_EQ(sensors_.state(), 1);
}

TEST_F(HwmonSensorsTest, TheHottestOfTwoPackagesCounts) {
    for (const char* name : {"hwmon3", "hwmon4"}) {
        device(name, {{"name", "coretemp"},
                      {"temp1_label", "Package id 0"},
                      {"temp1_crit", "90000"},
                      {"temp1_input", name == std::string("hwmon4") ? "86000" : "40000"}});
    }
    EXPECT_EQ(found(), 1);
}

TEST_F(HwmonSensorsTest, APackageIsReadOnceAndItsLimitNeverAgain) {
    device("hwmon0", {{"name", "nvme"}, {"temp1_input", "30000"}});
    device("hwmon1", {{"name", "coretemp"},
                      {"temp1_label", "Package id 0"},
                      {"temp1_crit", "100000"},
                      {"temp1_input", "40000"},
                      {"temp2_label", "Core 0"},
                      {"temp2_crit", "100000"},
                      {"temp2_input", "40000"}});
    EXPECT_EQ(found(), 0);
    const int opened = calls_.opens;
    const int before = calls_.reads;
    EXPECT_EQ(found(), 0);
    EXPECT_EQ(calls_.opens, opened) << "no label and no limit is read again";
    EXPECT_EQ(calls_.reads - before, 1) << "one file";
}

TEST_F(HwmonSensorsTest, OnlyADieThatIsHotIsHeldAgainstItsComplexes) {
    device("hwmon1", {{"name", "k10temp"},
                      {"temp1_label", "Tctl"},
                      {"temp1_input", "40000"},
                      {"temp3_label", "Tccd1"},
                      {"temp3_input", "90000"}});
    EXPECT_EQ(found(), 0);
    const int before = calls_.reads;
    EXPECT_EQ(sensors_.state(), 0);
    EXPECT_EQ(calls_.reads - before, 1);
    device("hwmon1", {{"temp1_input", "95000"}});
    EXPECT_EQ(sensors_.state(), 2);
    EXPECT_EQ(calls_.reads - before, 1 + 2);
}

TEST_F(HwmonSensorsTest, ASensorThatFailsTellsNothingAfterThreeReadings) {
    const auto package = [this](const char* text) {
        tree_.write("sys/class/hwmon/hwmon0/temp1_input", text);
    };
    device("hwmon0",
           {{"name", "coretemp"}, {"temp1_label", "Package id 0"}, {"temp1_crit", "100000"}});
    for (const char* bad : {"", "\n", "0\n", "-274000\n", "255000\n", "hot\n", "95000"}) {
        package(bad);
        sensors_.find();
        for (int reading = 0; reading < 4; ++reading) {
            sensors_.state();
        }
        EXPECT_EQ(sensors_.state(), std::nullopt) << bad;
        package("95000\n");
        EXPECT_EQ(sensors_.state(), 1) << bad;
        package(bad);
        for (int reading = 0; reading < 3; ++reading) {
            EXPECT_EQ(sensors_.state(), 1) << bad;
        }
    }
    package("100000\n");
    EXPECT_EQ(sensors_.state(), 2);
    calls_.failRead = [](int) { return EIO; };
    EXPECT_EQ(sensors_.state(), 2) << "stands";
}

TEST_F(HwmonSensorsTest, ADeviceThatTakesAnothersNumberIsReadForWhatItIs) {
    device("hwmon0", {{"name", "coretemp"},
                      {"temp1_label", "Package id 0"},
                      {"temp1_crit", "100000"},
                      {"temp1_input", "40000"}});
    EXPECT_EQ(found(), 0);
    calls_.failRead = [](int) { return ENODEV; };
    sensors_.state();
    calls_.failRead = nullptr;
    device("hwmon0", {{"name", "nvme"}, {"temp1_input", "100000"}});
    EXPECT_EQ(sensors_.state(), std::nullopt);
    EXPECT_EQ(found(), std::nullopt);
    device("hwmon1", {{"name", "coretemp"},
                      {"temp1_label", "Package id 0"},
                      {"temp1_crit", "100000"},
                      {"temp1_input", "96000"}});
    EXPECT_EQ(found(), 1);
    tree_.remove("sys/class/hwmon/hwmon1");
    EXPECT_EQ(found(), std::nullopt);
}

} // namespace
} // namespace korvel::platform
