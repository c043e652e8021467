#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/hwmon_sensors.h"
#include "platform/linux/kernel/thermal_zones.h"
#include "platform/linux/kernel/throttle_counters.h"

namespace korvel::platform {

/// A clock that never steps and stands still while the machine sleeps.
using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

/// The machine's thermal state: the worse of how near the processor is to its limits, and of how
/// long it was throttled. The processor's own sensors are asked first (hwmon), then the thermal
/// zones, and only as long as the ones before do not tell. Sensors that come and go are noticed
/// once a minute, at one reading every five seconds. docs/heat.md has the rules and their reasons.
class ThermalReader {
  public:
    /// `root` ends in a slash.
    ThermalReader(FileCalls& calls, const std::string& root,
                  SteadyClock now = std::chrono::steady_clock::now);

    /// 0 nominal, 1 fair, 2 serious, 3 critical. Nominal without a sensor that tells.
    int state();

    /// Whether the last state rests on a sensor or on a counter of throttling.
    bool reports() const { return reports_; }

  private:
    /// A folder of which the content is looked for every minute, and the folder itself, as long as
    /// it is not there, every ten.
    class Folder {
      public:
        /// `find` says whether the folder is there.
        template <typename Find>
        void lookFor(Find find);

      private:
        int minutesToSkip_ = 0;
    };

    void find();

    SteadyClock now_;
    HwmonSensors sensors_;
    Folder sensorsFolder_;
    ThermalZones zones_;
    Folder zonesFolder_;
    ThrottleCounters throttling_;
    bool zonesAreToBeFound_ = false;
    bool reports_ = false;
    EveryMinute finding_;
};

} // namespace korvel::platform
