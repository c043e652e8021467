#include "platform/linux/kernel/zram_reader.h"

#include <set>

#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

std::optional<ZramUse> parseMmStat(std::string_view text) {
    constexpr int kStored = 1;
    constexpr int kMemoryUsed = 3; // after the bytes that it was compressed to
    const auto stored = numberAt(text, kStored);
    const auto memoryUsed = numberAt(text, kMemoryUsed);
    return stored && memoryUsed ? std::optional(ZramUse{1, *stored, *memoryUsed}) : std::nullopt;
}

ZramReader::ZramReader(FileCalls& calls, const std::string& root)
    : calls_(calls), path_(root + "sys/block/"), directory_(calls, path_) {}

ZramUse ZramReader::use() {
    if (findingDevices_.isDue()) {
        findDevices();
    }
    ZramUse all;
    for (auto& [name, file] : devices_) {
        const std::optional<std::string_view> text = file.read(buffer_);
        if (const auto one = text ? parseMmStat(*text) : std::nullopt) {
            ++all.devices;
            all.stored += one->stored;
            all.memoryUsed += one->memoryUsed;
        }
    }
    return all;
}

std::vector<std::string> ZramReader::names() const {
    std::vector<std::string> names;
    for (const auto& [name, file] : devices_) {
        names.push_back(name);
    }
    return names;
}

void ZramReader::findDevices() {
    constexpr std::string_view kPrefix = "zram";
    std::set<std::string, std::less<>> present;
    directory_.list([&](std::string_view name) {
        if (name.substr(0, kPrefix.size()) == kPrefix) {
            present.emplace(name);
        }
    });
    std::erase_if(devices_, [&](const auto& device) { return !present.contains(device.first); });
    for (const std::string& name : present) {
        devices_.try_emplace(name, calls_, path_ + name + "/mm_stat");
    }
}

} // namespace korvel::platform
