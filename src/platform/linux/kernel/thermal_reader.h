#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/thermal_rule.h"
#include "platform/linux/kernel/throttle_counters.h"

namespace korvel::platform {

/// A clock that never steps and stands still while the machine sleeps.
using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

/// The machine's thermal state: the worse of its hottest zone of /sys/class/thermal against the
/// zone's own trip points, and of how long processors were throttled. Zones and processors that
/// come and go are noticed once a minute, at one reading every five seconds; a zone's trip points
/// are read once, when it is found. docs/heat.md has the rules and their reasons.
class ThermalReader {
  public:
    /// `root` ends in a slash.
    ThermalReader(FileCalls& calls, const std::string& root,
                  SteadyClock now = std::chrono::steady_clock::now);

    /// 0 nominal, 1 fair, 2 serious, 3 critical. Nominal without a usable zone.
    int state();

  private:
    struct Zone {
        KeptFile mode;
        KeptFile temperature;
        ThermalZoneRule rule;
    };

    void findZones();
    void addZone(const std::string& name);

    FileCalls& calls_;
    SteadyClock now_;
    std::string zonesPath_;
    KeptDirectory zonesDirectory_;
    std::map<std::string, Zone> zones_;
    ThrottleCounters throttling_;
    std::string buffer_;
    int readingsToSkip_ = 0;
};

} // namespace korvel::platform
