#include "platform/linux/kernel/thermal_reader.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/linux/kernel/text_scan.h"
#include "platform/linux/kernel/thermal_state.h"

namespace korvel::platform {

ThermalReader::ThermalReader(FileCalls& calls, const std::string& root, SteadyClock now)
    : calls_(calls), now_(std::move(now)), zonesPath_(root + "sys/class/thermal/"),
      zonesDirectory_(calls, zonesPath_), throttling_(calls, root) {}

int ThermalReader::state() {
    constexpr int kSkipped = 11; // a minute, at one reading every five seconds
    if (readingsToSkip_ > 0) {
        --readingsToSkip_;
    } else {
        readingsToSkip_ = kSkipped;
        findZones();
        throttling_.find();
    }
    int hottest = throttling_.state(now_()).value_or(kNominalHeat);
    for (auto& [name, zone] : zones_) {
        const std::optional<std::string_view> mode = zone.mode.read(buffer_);
        std::optional<std::int64_t> temperature;
        if (mode != "disabled\n") { // old kernels have no such file
            const std::optional<std::string_view> text = zone.temperature.read(buffer_);
            temperature = text ? parseTemperature(*text) : std::nullopt;
        }
        hottest = std::max(hottest, zone.rule.state(temperature));
    }
    return hottest;
}

void ThermalReader::findZones() {
    std::set<std::string, std::less<>> present;
    zonesDirectory_.list([&](std::string_view name) {
        if (isNumbered(name, "thermal_zone")) {
            present.emplace(name);
        }
    });
    std::erase_if(zones_, [&](const auto& zone) { return !present.contains(zone.first); });
    for (const std::string& name : present) {
        if (!zones_.contains(name)) {
            addZone(name);
        }
    }
}

void ThermalReader::addZone(const std::string& name) {
    constexpr int kMostTrips = 64;
    const std::string path = zonesPath_ + name + "/";
    std::vector<TripPoint> trips;
    for (int number = 0; number < kMostTrips; ++number) {
        const std::string trip = fmt::format("{}trip_point_{}_", path, number);
        const std::string type = readOnce(calls_, trip + "type", buffer_);
        if (type.empty()) {
            break;
        }
        const std::string temperature = readOnce(calls_, trip + "temp", buffer_);
        if (const auto point =
                parseTripPoint(type, temperature, readOnce(calls_, trip + "hyst", buffer_))) {
            trips.push_back(*point);
        }
    }
    zones_.emplace(name, Zone{KeptFile(calls_, path + "mode"), KeptFile(calls_, path + "temp"),
                              ThermalZoneRule(std::move(trips))});
}

} // namespace korvel::platform
