#include "platform/linux/kernel/hwmon_sensors.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "base/lines.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

/// A driver of a processor's sensors.
struct HwmonSensors::Driver {
    std::string_view name;
    /// Beginnings of labels: those that tell the most first, "" for a sensor without a label. The
    /// sensors of the first that has one with a limit are read.
    std::array<std::string_view, 3> labels;
    bool maxIsLimit;             ///< otherwise it says when fans should run, or nothing
    std::int64_t labelledLimit;  ///< millidegrees, where the driver gives none; 0: not known
    std::string_view labelOfDie; ///< of sensors that bear the first out
};

/// A temperature of a device, tempN of its files.
struct HwmonSensors::Channel {
    std::string path; ///< up to and with the underscore before "input"
    std::string label;
};

HwmonSensors::HwmonSensors(FileCalls& calls, const std::string& root)
    : calls_(calls), path_(root + "sys/class/hwmon/"), directory_(calls, path_) {}

bool HwmonSensors::find() {
    std::set<std::string, std::less<>> present;
    const bool isThere = directory_.list([&](std::string_view name) {
        if (isNumbered(name, "hwmon")) {
            present.emplace(name);
        }
    });
    std::erase_if(devices_, [&](const auto& device) { return !present.contains(device.first); });
    for (const std::string& name : present) {
        const std::string path = path_ + name + "/";
        const std::string driver = devices_.contains(name) ? "" : readOf(path + "name");
        if (!driver.empty()) {
            devices_.emplace(name, deviceOf(driver, path));
        }
    }
    return isThere;
}

HwmonSensors::Device HwmonSensors::deviceOf(std::string_view name, const std::string& path) {
    static constexpr std::array<Driver, 3> kDrivers = {{
        {"coretemp", {"Package id", "Physical id", "Core"}, false, 0, ""},
        {"k10temp", {"Tdie", "Tctl", ""}, false, 95'000, "Tccd"},
        {"zenpower", {"Tdie", "Tctl", ""}, true, 95'000, "Tccd"},
    }};
    const auto driver = std::find_if(kDrivers.begin(), kDrivers.end(),
                                     [&](const Driver& each) { return each.name == name; });
    Device device;
    if (driver == kDrivers.end()) {
        return device;
    }
    const std::vector<Channel> channels = channelsAt(path);
    for (const std::string_view label : driver->labels) {
        for (const Channel& channel : channels) {
            const bool isMeant =
                label.empty() ? channel.label.empty() : channel.label.starts_with(label);
            std::optional<Sensor> sensor = isMeant ? sensorOf(*driver, channel) : std::nullopt;
            if (sensor) {
                device.sensors.push_back(std::move(*sensor));
            }
        }
        if (!device.sensors.empty()) {
            break;
        }
    }
    for (const Channel& channel : channels) {
        if (!driver->labelOfDie.empty() && channel.label.starts_with(driver->labelOfDie)) {
            device.dies.emplace_back(calls_, channel.path + "input");
        }
    }
    return device;
}

std::vector<HwmonSensors::Channel> HwmonSensors::channelsAt(const std::string& path) {
    constexpr std::string_view kPrefix = "temp";
    constexpr std::string_view kSuffix = "_input";
    std::vector<Channel> channels;
    KeptDirectory(calls_, path).list([&](std::string_view name) {
        if (name.ends_with(kSuffix) &&
            isNumbered(name.substr(0, name.size() - kSuffix.size()), kPrefix)) {
            const std::string_view channel = name.substr(0, name.size() - kSuffix.size() + 1);
            channels.push_back({path + std::string(channel), {}});
        }
    });
    for (Channel& channel : channels) {
        channel.label = readOf(channel.path + "label");
    }
    return channels;
}

std::optional<HwmonSensors::Sensor> HwmonSensors::sensorOf(const Driver& driver,
                                                           const Channel& channel) {
    constexpr std::int64_t kUsualHysteresis = 3'000; // millidegrees; the step of a fan's curve
    const auto limitOf = [&](const char* file) {
        const std::optional<std::int64_t> read =
            parseTemperature(readOnce(calls_, channel.path + file, buffer_));
        return read.value_or(0);
    };
    const std::int64_t crit = limitOf("crit");
    TripPoint limit{TripPoint::Kind::passive, crit, kUsualHysteresis};
    if (crit > 0) {
        const std::int64_t width = crit - limitOf("crit_hyst");
        limit.hysteresis = width > 0 && width < kUsualHysteresis ? width : kUsualHysteresis;
    } else if (driver.maxIsLimit) {
        limit.temperature = limitOf("max");
    }
    if (limit.temperature == 0 && !channel.label.empty()) {
        limit.temperature = driver.labelledLimit;
    }
    std::vector<TripPoint> trips = credibleTrips({limit});
    if (trips.empty()) {
        return std::nullopt;
    }
    return Sensor{limit.temperature, KeptFile(calls_, channel.path + "input"),
                  ThermalZoneRule(std::move(trips))};
}

std::optional<int> HwmonSensors::state() {
    std::optional<int> hottest;
    for (auto& [name, device] : devices_) {
        for (Sensor& sensor : device.sensors) {
            std::optional<std::int64_t> now = temperature(sensor.temperature);
            if (now && *now >= sensor.limit - kNearLimit && !isBorneOut(device, *now)) {
                now.reset();
            }
            sensor.rule.state(now);
            hottest = std::max(hottest, sensor.rule.told());
        }
    }
    // Numbers are given anew: the next device of this one's would be read against its limit.
    std::erase_if(devices_, [](const auto& entry) {
        const std::vector<Sensor>& sensors = entry.second.sensors;
        return std::any_of(sensors.begin(), sensors.end(),
                           [](const Sensor& sensor) { return !sensor.temperature.isOpen(); });
    });
    return hottest;
}

bool HwmonSensors::isBorneOut(Device& device, std::int64_t temperature) {
    // A die is some degrees cooler than the hottest place that the sensor stands for. Where all of
    // them are far cooler, the sensor's scale is not the one that the driver takes it for.
    constexpr std::int64_t kFar = 30'000; // millidegrees
    std::optional<std::int64_t> hottest;
    for (KeptFile& die : device.dies) {
        hottest = std::max(hottest, this->temperature(die));
    }
    return !hottest || *hottest > temperature - kFar;
}

std::optional<std::int64_t> HwmonSensors::temperature(KeptFile& file) {
    const std::optional<std::string_view> text = file.read(buffer_);
    return text ? parseTemperature(*text) : std::nullopt;
}

std::string HwmonSensors::readOf(const std::string& path) {
    const std::string text = readOnce(calls_, path, buffer_);
    std::string_view rest = text;
    return std::string(takeLine(rest).value_or(std::string_view()));
}

} // namespace korvel::platform
