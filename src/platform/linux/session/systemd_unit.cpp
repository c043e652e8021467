#include "platform/linux/session/systemd_unit.h"

#include <algorithm>
#include <cstdint>

#include "base/hexadecimal.h"

namespace korvel::platform {

bool isInCharge(std::string_view activeState) {
    return activeState == "active" || activeState == "activating" || activeState == "reloading" ||
           activeState == "refreshing";
}

bool isWaiting(std::string_view activeState, std::string_view subState) {
    return activeState == "active" && (subState == "waiting" || subState == "running");
}

bool isWaiter(std::string_view name) {
    return name.ends_with(".timer") || name.ends_with(".path");
}

bool isLoaded(const std::vector<SystemdUnit>& units) {
    if (units.empty()) {
        return false;
    }
    const SystemdUnit& service = units.front();
    return isInCharge(service.activeState) ||
           (service.loadState == "loaded" &&
            std::any_of(units.begin() + 1, units.end(), [](const SystemdUnit& unit) {
                return isWaiting(unit.activeState, unit.subState);
            }));
}

std::string serviceOf(const std::string& label) {
    return label + ".service";
}

std::string unitPath(std::string_view name) {
    std::string path = "/org/freedesktop/systemd1/unit/";
    bool first = true;
    for (const char byte : name) {
        const bool digit = byte >= '0' && byte <= '9';
        const bool letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
        if (letter || (digit && !first)) {
            path += byte;
        } else {
            const std::uint8_t code[] = {static_cast<std::uint8_t>(byte)};
            path += '_' + hexadecimal(code);
        }
        first = false;
    }
    return path;
}

} // namespace korvel::platform
