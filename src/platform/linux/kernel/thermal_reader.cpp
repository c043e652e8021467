#include "platform/linux/kernel/thermal_reader.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/linux/kernel/thermal_state.h"

namespace korvel::platform {

ThermalReader::ThermalReader(FileCalls& calls, const std::string& root, SteadyClock now)
    : now_(std::move(now)), sensors_(calls, root), zones_(calls, root), throttling_(calls, root) {}

int ThermalReader::state() {
    if (finding_.isDue()) {
        find();
    }
    const std::optional<int> throttled = throttling_.state(now_());
    std::optional<int> heat = sensors_.state();
    if (!heat) {
        if (std::exchange(zonesAreToBeFound_, false)) {
            zonesFolder_.lookFor([this] { return zones_.find(); });
        }
        heat = zones_.state();
    }
    reports_ = throttled || heat;
    return std::max(throttled, heat).value_or(kNominalHeat);
}

void ThermalReader::find() {
    sensorsFolder_.lookFor([this] { return sensors_.find(); });
    zonesAreToBeFound_ = true;
    throttling_.find();
}

template <typename Find>
void ThermalReader::Folder::lookFor(Find find) {
    // A class comes to be with the first driver that needs it, at the start of the machine.
    constexpr int kSkipped = 9; // ten minutes
    minutesToSkip_ = minutesToSkip_ > 0 ? minutesToSkip_ - 1 : find() ? 0 : kSkipped;
}

} // namespace korvel::platform
