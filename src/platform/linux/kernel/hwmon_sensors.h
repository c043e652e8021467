#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/thermal_rule.h"

namespace korvel::platform {

/// The sensors of /sys/class/hwmon that sit in processors, against the limit that the driver gives
/// or its documentation names (docs/heat.md lists them). A sensor without a limit is passed over,
/// and so is every other device.
class HwmonSensors {
  public:
    /// `root` ends in a slash.
    HwmonSensors(FileCalls& calls, const std::string& root);

    /// Looks for devices that came or went; to be called once a minute. False: there is no folder
    /// of them. Labels and limits are read once, when a device is found.
    bool find();

    /// Of the hottest: 1 within five degrees of its limit, 2 at it, else 0. None where no sensor
    /// can be read.
    std::optional<int> state();

  private:
    struct Sensor {
        std::int64_t limit = 0; ///< millidegrees
        KeptFile temperature;
        ThermalZoneRule rule;
    };
    struct Device {
        std::vector<Sensor> sensors;
        std::vector<KeptFile> dies; ///< temperatures beside the sensor that bear it out
    };
    struct Channel;
    struct Driver;

    Device deviceOf(std::string_view name, const std::string& path);
    std::vector<Channel> channelsAt(const std::string& path);
    std::optional<Sensor> sensorOf(const Driver& driver, const Channel& channel);
    std::optional<std::int64_t> temperature(KeptFile& file);
    bool isBorneOut(Device& device, std::int64_t temperature);
    std::string readOf(const std::string& path);

    FileCalls& calls_;
    std::string path_;
    KeptDirectory directory_;
    std::map<std::string, Device> devices_; ///< those without a sensor of a processor are empty
    std::string buffer_;
};

} // namespace korvel::platform
