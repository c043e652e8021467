#include "platform/linux/kernel/zone_kind.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/lines.h"

namespace korvel::platform {

namespace {

// Parts of names, in small letters, as drivers, device trees and ACPI tables give them.
constexpr std::array<std::string_view, 35> kForeign = {
    "wifi",  "wlan",  "ath1",  "phy", "modem", "mdm",     "usb",    "sfp",  "bat",
    "charg", "chg",   "nvme",  "ssd", "disk",  "driv",    "pch",    "gpu",  "g3d",
    "npu",   "ddr",   "dimm",  "mem", "pmic",  "skin",    "tskn",   "cam",  "display",
    "lcd",   "panel", "audio", "fan", "board", "ambient", "outlet", "int34"};
constexpr std::array<std::string_view, 8> kProcessors = {"cpu", "pkg",  "package", "core",
                                                         "soc", "b0d4", "cluster", "little"};
/// Whole names. The trip points of the first are thresholds that a program asks to be woken at; the
/// other two are the charge of a battery.
constexpr std::array<std::string_view, 3> kForeignNames = {"x86_pkg_temp", "soc", "socd"};
constexpr std::array<std::string_view, 2> kProcessorNames = {"big", "mid"};

template <std::size_t Size>
bool hasPart(const std::string& name, const std::array<std::string_view, Size>& parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&](std::string_view part) { return name.find(part) != std::string::npos; });
}

template <std::size_t Size>
bool isOneOf(const std::string& name, const std::array<std::string_view, Size>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

char smallLetter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

ZoneKind zoneKind(std::string_view type) {
    std::string name(takeLine(type).value_or(std::string_view()));
    std::transform(name.begin(), name.end(), name.begin(), smallLetter);
    if (isOneOf(name, kForeignNames) || hasPart(name, kForeign)) {
        return ZoneKind::foreign;
    }
    if (isOneOf(name, kProcessorNames) || hasPart(name, kProcessors)) {
        return ZoneKind::processor;
    }
    return ZoneKind::firmware;
}

} // namespace korvel::platform
