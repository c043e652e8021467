#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/thermal_rule.h"

namespace korvel::platform {

/// The machine's thermal state: its hottest zone of /sys/class/thermal against the zone's own trip
/// points, and whether a processor was throttled since the previous reading. Zones and processors
/// that come and go are noticed once a minute, at one reading every five seconds; a zone's trip
/// points are read once, when it is found.
class ThermalReader {
  public:
    /// `root` ends in a slash.
    ThermalReader(FileCalls& calls, const std::string& root);

    /// 0 nominal, 1 fair, 2 serious, 3 critical. Nominal without a usable zone.
    int state();

  private:
    struct Zone {
        KeptFile mode;
        KeptFile temperature;
        ThermalZoneRule rule;
    };
    struct Throttle {
        KeptFile total;
        std::optional<std::uint64_t> before; ///< milliseconds
    };

    void findZones();
    void findPackages();
    void addZone(const std::string& name);
    bool throttledSinceBefore();
    std::string readOnce(const std::string& path);

    FileCalls& calls_;
    std::string zonesPath_;
    std::string processorsPath_;
    KeptDirectory zonesDirectory_;
    KeptDirectory processorsDirectory_;
    std::map<std::string, Zone> zones_;
    std::map<std::string, Throttle> throttles_; ///< one processor for each package
    std::string buffer_;
    int readingsToSkip_ = 0;
};

} // namespace korvel::platform
