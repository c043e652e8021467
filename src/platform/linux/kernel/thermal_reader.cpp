#include "platform/linux/kernel/thermal_reader.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>

#include "base/lines.h"
#include "base/whole_number.h"

namespace korvel::platform {

namespace {

/// Whether `name` is `prefix` and then digits only.
bool isNumbered(std::string_view name, std::string_view prefix) {
    return name.size() > prefix.size() && name.substr(0, prefix.size()) == prefix &&
           name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

} // namespace

ThermalReader::ThermalReader(FileCalls& calls, const std::string& root)
    : calls_(calls), zonesPath_(root + "sys/class/thermal/"),
      processorsPath_(root + "sys/devices/system/cpu/"), zonesDirectory_(calls, zonesPath_),
      processorsDirectory_(calls, processorsPath_) {}

int ThermalReader::state() {
    constexpr int kSkipped = 11; // a minute, at one reading every five seconds
    constexpr int kSerious = 2;
    if (readingsToSkip_ > 0) {
        --readingsToSkip_;
    } else {
        readingsToSkip_ = kSkipped;
        findZones();
        findPackages();
    }
    int hottest = throttledSinceBefore() ? kSerious : 0;
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
        const std::string type = readOnce(trip + "type");
        if (type.empty()) {
            break;
        }
        const std::string temperature = readOnce(trip + "temp");
        if (const auto point = parseTripPoint(type, temperature, readOnce(trip + "hyst"))) {
            trips.push_back(*point);
        }
    }
    zones_.emplace(name, Zone{KeptFile(calls_, path + "mode"), KeptFile(calls_, path + "temp"),
                              ThermalZoneRule(std::move(trips))});
}

void ThermalReader::findPackages() {
    std::set<std::string, std::less<>> processors;
    processorsDirectory_.list([&](std::string_view name) {
        if (isNumbered(name, "cpu")) {
            processors.emplace(name);
        }
    });
    const auto gone = [&](const auto& known) { return !processors.contains(known.first); };
    if (!throttles_.empty() && std::none_of(throttles_.begin(), throttles_.end(), gone)) {
        return;
    }
    throttles_.clear();
    // The count is the package's, whichever of its processors is asked.
    std::set<std::string> packages;
    for (const std::string& name : processors) {
        const std::string path = processorsPath_ + name + "/";
        const std::string total = path + "thermal_throttle/package_throttle_total_time_ms";
        if (readOnce(total).empty()) {
            break; // not a processor that tells
        }
        if (packages.insert(readOnce(path + "topology/physical_package_id")).second) {
            throttles_.emplace(name, Throttle{KeptFile(calls_, total), std::nullopt});
        }
    }
}

bool ThermalReader::throttledSinceBefore() {
    bool grew = false;
    for (auto& [name, throttle] : throttles_) {
        std::optional<std::string_view> text = throttle.total.read(buffer_);
        std::optional<std::string_view> line = text ? takeLine(*text) : std::nullopt;
        const auto now = line ? wholeNumber<std::uint64_t>(*line) : std::nullopt;
        if (now) {
            grew = grew || (throttle.before && *now > *throttle.before);
            throttle.before = now;
        }
    }
    return grew;
}

std::string ThermalReader::readOnce(const std::string& path) {
    const FileDescriptor file(calls_.openAt(AT_FDCWD, path.c_str(), 0));
    const auto text = file ? readWhole(calls_, file.get(), buffer_) : std::nullopt;
    return std::string(text.value_or(std::string_view()));
}

} // namespace korvel::platform
