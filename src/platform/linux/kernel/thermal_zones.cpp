#include "platform/linux/kernel/thermal_zones.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/linux/kernel/text_scan.h"
#include "platform/linux/kernel/thermal_state.h"

namespace korvel::platform {

ThermalZones::ThermalZones(FileCalls& calls, const std::string& root)
    : calls_(calls), path_(root + "sys/class/thermal/"), directory_(calls, path_) {}

bool ThermalZones::find() {
    std::set<std::string, std::less<>> present;
    const bool isThere = directory_.list([&](std::string_view name) {
        if (isNumbered(name, "thermal_zone")) {
            present.emplace(name);
        }
    });
    std::erase_if(zones_, [&](const auto& zone) { return !present.contains(zone.first); });
    for (const std::string& name : present) {
        if (!zones_.contains(name)) {
            add(name);
        }
    }
    return isThere;
}

std::optional<int> ThermalZones::state() {
    std::optional<int> hottest = stateOfProcessor();
    if (!hottest) {
        hottest = stateOfFirmware();
    }
    // Numbers are given anew: the next zone of this one's would be read against its trip points.
    std::erase_if(zones_, [](const auto& zone) { return zone.second.isGone; });
    return hottest;
}

void ThermalZones::add(const std::string& name) {
    constexpr int kMostTrips = 64;
    const ZoneKind kind = zoneKind(readOf(name, "type"));
    std::vector<TripPoint> trips;
    for (int number = 0; number < kMostTrips && kind != ZoneKind::foreign; ++number) {
        const std::string trip = fmt::format("trip_point_{}_", number);
        const std::string type = readOf(name, trip + "type");
        if (type.empty()) {
            break;
        }
        const std::string temperature = readOf(name, trip + "temp");
        if (const auto point = parseTripPoint(type, temperature, readOf(name, trip + "hyst"))) {
            trips.push_back(*point);
        }
    }
    zones_.emplace(name, Zone{kind, KeptFile(calls_, path_ + name + "/mode"),
                              KeptFile(calls_, path_ + name + "/temp"),
                              ThermalZoneRule(credibleTrips(std::move(trips))), TemperatureDoubt(),
                              false});
}

std::string ThermalZones::readOf(const std::string& name, const std::string& file) {
    return readOnce(calls_, fmt::format("{}{}/{}", path_, name, file), buffer_);
}

std::optional<std::int64_t> ThermalZones::temperature(Zone& zone) {
    if (zone.mode.read(buffer_) == "disabled\n") { // old kernels have no such file
        return std::nullopt;
    }
    const std::optional<std::string_view> text = zone.temperature.read(buffer_);
    zone.isGone = !zone.temperature.isOpen();
    return text ? parseTemperature(*text) : std::nullopt;
}

std::optional<int> ThermalZones::stateOfProcessor() {
    std::optional<int> hottest;
    for (auto& [name, zone] : zones_) {
        if (zone.decides(ZoneKind::processor)) {
            zone.rule.state(temperature(zone));
            hottest = std::max(hottest, zone.rule.told());
        }
    }
    return hottest;
}

std::optional<int> ThermalZones::stateOfFirmware() {
    std::vector<std::pair<Zone*, std::optional<std::int64_t>>> readings;
    bool isWarm = false;
    std::int64_t moved = 0;
    for (auto& [name, zone] : zones_) {
        if (zone.decides(ZoneKind::firmware)) {
            isWarm = isWarm || (zone.rule.told() > kNominalHeat && !zone.doubt.standsStill());
            readings.emplace_back(&zone, temperature(zone));
            moved = std::max(moved, zone.doubt.moved(readings.back().second));
        }
    }
    // Only what says that it is hot is held against others, so that a cool machine reads no more.
    moved = std::max(moved, isWarm ? witnessMoved() : 0);
    std::optional<int> hottest;
    for (const auto& [zone, temperature] : readings) {
        zone->rule.state(zone->doubt.believed(temperature, moved));
        if (!zone->doubt.standsStill()) {
            hottest = std::max(hottest, zone->rule.told());
        }
    }
    return hottest;
}

std::int64_t ThermalZones::witnessMoved() {
    for (auto& [name, zone] : zones_) {
        if (!zone.rule.hasTrips()) {
            if (const std::optional<std::int64_t> now = temperature(zone)) {
                const std::int64_t moved = zone.doubt.moved(now);
                zone.doubt.believed(now, 0);
                return moved;
            }
        }
    }
    return 0;
}

} // namespace korvel::platform
