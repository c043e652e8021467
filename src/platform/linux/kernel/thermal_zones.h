#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/thermal_rule.h"
#include "platform/linux/kernel/zone_kind.h"

namespace korvel::platform {

/// The zones of /sys/class/thermal against their own trip points. Those that name the processor
/// decide; where there are none, those that firmware names, as far as they are to be believed; and
/// zones of other things never do. What does not decide is not read.
class ThermalZones {
  public:
    /// `root` ends in a slash.
    ThermalZones(FileCalls& calls, const std::string& root);

    /// Looks for zones that came or went; to be called once a minute. False: there is no folder of
    /// them. A zone's trip points are read once, when it is found.
    bool find();

    /// Of the hottest that decides, 0 nominal to 3 critical; none where there is no such zone.
    std::optional<int> state();

  private:
    struct Zone {
        ZoneKind kind;
        KeptFile mode;
        KeptFile temperature;
        ThermalZoneRule rule;
        TemperatureDoubt doubt;
        bool isGone = false;

        bool decides(ZoneKind as) const { return kind == as && rule.hasTrips(); }
    };

    void add(const std::string& name);
    std::string readOf(const std::string& name, const std::string& file);
    std::optional<std::int64_t> temperature(Zone& zone);
    std::optional<int> stateOfProcessor();
    std::optional<int> stateOfFirmware();
    /// How far a zone that does not decide is from where it was, in millidegrees.
    std::int64_t witnessMoved();

    FileCalls& calls_;
    std::string path_;
    KeptDirectory directory_;
    std::map<std::string, Zone> zones_;
    std::string buffer_;
};

} // namespace korvel::platform
