#include "platform/linux/kernel/throttle_counters.h"

#include <algorithm>
#include <set>
#include <string_view>

#include <fcntl.h>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

constexpr const char* kOfPackage = "/thermal_throttle/package_throttle_total_time_ms";
constexpr const char* kOfCore = "/thermal_throttle/core_throttle_total_time_ms";

std::optional<std::uint64_t> parseTotal(std::optional<std::string_view> text) {
    const std::optional<std::string_view> line = text ? takeLine(*text) : std::nullopt;
    return line ? wholeNumber<std::uint64_t>(*line) : std::nullopt;
}

} // namespace

ThrottleCounters::ThrottleCounters(FileCalls& calls, const std::string& root)
    : calls_(calls), path_(root + "sys/devices/system/cpu/"), directory_(calls, path_) {}

void ThrottleCounters::find() {
    std::set<std::string, std::less<>> processors;
    directory_.list([&](std::string_view name) {
        if (isNumbered(name, "cpu")) {
            processors.emplace(name);
        }
    });
    // A processor that is taken offline keeps its folder and loses its counters.
    const auto isGone = [&](const auto& counter) {
        return !processors.contains(counter.first) || !counter.second.total.isOpen();
    };
    if (!counters_.empty() && std::none_of(counters_.begin(), counters_.end(), isGone)) {
        return;
    }
    counters_.clear();
    std::set<std::string> counted;
    for (const std::string& name : processors) {
        const std::string counters = path_ + name + "/thermal_throttle";
        if (!FileDescriptor(calls_.openAt(AT_FDCWD, counters.c_str(), O_DIRECTORY))) {
            if (tells_) {
                continue;
            }
            break; // not a machine that counts
        }
        tells_ = true;
        // The package's count is the same, whichever of its processors is asked.
        const bool isOfPackage = parseTotal(readOf(name, kOfPackage)).has_value();
        std::string whose = readOf(name, "/topology/physical_package_id");
        whose += isOfPackage ? "" : readOf(name, "/topology/core_id");
        if (counted.insert(whose).second) {
            const char* const total = isOfPackage ? kOfPackage : kOfCore;
            counters_.emplace(name, Counter{KeptFile(calls_, path_ + name + total), {}});
        }
    }
}

std::optional<int> ThrottleCounters::state(ThrottleRule::Moment now) {
    std::optional<int> worst;
    for (auto& [name, counter] : counters_) {
        counter.rule.state(parseTotal(counter.total.read(buffer_)), now);
        worst = std::max(worst, counter.rule.told());
    }
    return worst;
}

std::string ThrottleCounters::readOf(const std::string& processor, const char* file) {
    return readOnce(calls_, path_ + processor + file, buffer_);
}

} // namespace korvel::platform
