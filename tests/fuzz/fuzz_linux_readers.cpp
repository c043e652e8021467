#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/whole_number.h"
#include "fuzz/fuzz.h"
#include "platform/linux/kernel/cpu_ticks.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/machine_texts.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/mount_table.h"
#include "platform/linux/kernel/pressure.h"
#include "platform/linux/kernel/process_name.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/kernel/swap_room.h"
#include "platform/linux/kernel/swapouts.h"
#include "platform/linux/kernel/thermal_rule.h"
#include "platform/linux/kernel/throttle_rule.h"
#include "platform/linux/kernel/zfs_cache.h"
#include "platform/linux/kernel/zone_kind.h"
#include "platform/linux/kernel/zram_reader.h"

namespace {

using namespace korvel::platform;

/// The text up to the next form feed, which no kernel writes, taken off it.
std::string_view takePart(std::string_view& text) {
    const std::size_t end = std::min(text.find('\f'), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

void fuzzMemory(std::string_view text) {
    const auto memory = parseMeminfo(text);
    if (!memory) {
        return;
    }
    require(memory->memTotal > 0, "there is memory");
    const auto available = availableMemory(*memory);
    require(available.value_or(0) <= memory->memTotal, "no more is available than there is");
    if (const auto swap = swapUsage(*memory)) {
        require(swap->xsu_avail <= swap->xsu_total &&
                    swap->xsu_used == swap->xsu_total - swap->xsu_avail,
                "used and available swap are all of it");
    }
    constexpr std::uint64_t kPage = 4096;
    const auto pages = vmStatistics(*memory, memory->zswap.value_or(0), kPage);
    require(pages.has_value() == available.has_value(), "statistics where memory is known");
    if (pages && memory->memTotal / kPage <= std::numeric_limits<std::uint32_t>::max()) {
        const std::uint64_t sum = std::uint64_t{pages->free_count} + pages->inactive_count +
                                  pages->wire_count + pages->compressor_page_count +
                                  pages->active_count;
        require(sum == memory->memTotal / kPage, "all pages together are the total");
    }
}

/// A first reading and those after it.
void fuzzTicks(std::string_view text) {
    CpuTickAccumulator accumulator;
    std::optional<korvel::platform::CpuTicks> before;
    while (!text.empty()) {
        const KernelStat stat = parseKernelStat(takePart(text));
        std::set<std::uint32_t> numbers;
        for (const ProcessorTicks& processor : stat.processors) {
            require(numbers.insert(processor.number).second, "a processor stands once");
        }
        const auto now = accumulator.add(stat.processors);
        require(now.has_value() == !stat.processors.empty(), "ticks where there is a processor");
        if (now && before) {
            require(now->user >= before->user && now->system >= before->system &&
                        now->idle >= before->idle && now->nice >= before->nice,
                    "no counter falls");
        }
        before = now ? now : before;
    }
}

void fuzzPressure(std::string_view text) {
    PressureRule rule;
    PressureFigures figures;
    figures.memTotal = 1000;
    figures.swapTotal = text.size() % 3;
    while (!text.empty()) {
        const std::string_view part = takePart(text);
        figures.stall = parseMemoryStall(part);
        if (figures.stall) {
            for (const double share : {figures.stall->some, figures.stall->full}) {
                require(share >= 0 && share <= 100, "a share of the time");
            }
        }
        figures.memAvailable = part.size() % 1000;
        const std::int32_t level = rule.level(figures);
        require(level == 1 || level == 2 || level == 4, "one of the levels");
    }
}

void fuzzThermal(std::string_view text) {
    const std::string_view type = takePart(text);
    const std::string_view at = takePart(text);
    const auto trip = parseTripPoint(type, at, takePart(text));
    if (trip) {
        require(trip->temperature > 0 && trip->temperature < 150'000, "a real temperature");
        require(trip->hysteresis >= 0 && trip->hysteresis <= 20'000, "a real hysteresis");
    }
    const auto credible = trip ? credibleTrips({*trip}) : std::vector<TripPoint>();
    require(credible.empty() || credible.front().temperature >= 40'000, "a limit of a processor");
    ThermalZoneRule rule(credible);
    TemperatureDoubt doubt;
    while (!text.empty()) {
        const std::string_view part = takePart(text);
        const auto read = parseTemperature(part);
        const auto believed = doubt.believed(read, part.size() % 2 == 0 ? 0 : 4'000);
        require(!believed || believed == read, "what was read, or nothing");
        const int state = rule.state(believed);
        require(state >= 0 && state <= (rule.hasTrips() ? 3 : 0), "one of the states");
        require(rule.told().value_or(state) == state, "what is told is the state");
    }
}

void fuzzThrottling(std::string_view text) {
    zoneKind(text);
    ThrottleRule rule;
    ThrottleRule::Moment now;
    while (!text.empty()) {
        const std::string_view part = takePart(text);
        now += std::chrono::milliseconds(part.size() * part.size());
        const int state = rule.state(korvel::wholeNumber<std::uint64_t>(part), now);
        require(state == 0 || state == 2 || state == 3, "one of the states");
        require(rule.told().value_or(0) == state, "nothing told is nominal");
    }
}

void fuzzProcess(std::string_view text) {
    if (const auto statm = parseStatm(text)) {
        require(statm->anonymous() <= statm->resident, "no more anonymous than resident pages");
    }
    parseStartTime(text);
    parseParent(text);
    require(parseRssShmem(text).value_or(0) % 1024 == 0, "whole kibibytes");
    require(parsePssShmem(text).value_or(0) % 1024 == 0, "whole kibibytes");
    require(parseVmSwap(text).value_or(0) % 1024 == 0, "whole kibibytes");
    const std::string_view comm = takePart(text);
    const std::string name = lengthenedName(comm, text);
    require(name.starts_with(comm) && name.size() <= std::max<std::size_t>(comm.size(), 255),
            "a longer name goes on from the short one");
}

void fuzzSwapRoom(std::string_view text) {
    SwapRoom room;
    room.freeOnZram = parseSwapAreas(text).value_or(SwapAreas()).zramFree;
    require(room.freeOnZram == 0 || text.find("zram") != std::string_view::npos,
            "compressed swap where told");
    room.free = text.size() << 20;
    room.zram = parseMmStat(text).value_or(ZramUse());
    require(room.bytes() <= room.free, "no more room than is free");
    room.swappable = text.size() << 10;
    require(room.bytes() <= *room.swappable, "no more room than there is to swap");
}

void fuzzMachine(std::string_view text) {
    const int processors = countProcessors(text).value_or(1);
    require(processors >= 1 && processors <= 1 << 20, "a number of processors");
    for (const double load : parseLoadAverages(text).value_or(std::array<double, 3>{})) {
        require(std::isfinite(load) && load >= 0, "a load of 0 or more");
    }
    const auto pages = parseSwapouts(text);
    require(!pages || text.find("pswpout ") != std::string_view::npos, "swapouts where told");
    for (const std::string& name : parseSwapAreas(text).value_or(SwapAreas()).zrams) {
        require(name.size() > 4 && name.starts_with("zram") && name.find('/') == name.npos,
                "a name of a device below /sys/block");
    }
    require(parseBytesWritten(text).value_or(0) % 512 == 0, "whole sectors");
    require(parseBackingBytes(text).value_or(0) % 4096 == 0, "whole units of a backing device");
    const auto occupied = parseMmStat(text);
    require(!occupied ||
                (text.find(std::to_string(occupied->stored)) != std::string_view::npos &&
                 text.find(std::to_string(occupied->memoryUsed)) != std::string_view::npos),
            "the numbers that stand there");
    const auto cache = parseZfsCache(text);
    require(!cache || text.find("c_min") != std::string_view::npos, "a cache where told");
    fuzzSwapRoom(text);
}

void fuzzMounts(std::string_view text) {
    const MountTable table(text);
    for (const Mount& mount : table.mounts()) {
        require(mount.point.starts_with('/'), "a mount has an absolute path");
    }
    const Mount* const found = table.holding("/a/../b");
    require(!found || std::find(table.mounts().begin(), table.mounts().end(), *found) !=
                          table.mounts().end(),
            "a path lies on one of the mounts");
}

} // namespace

// Whatever the files of /proc and /sys hold, the figures stay within what can be.
void fuzz(std::string_view bytes) {
    fuzzMemory(bytes);
    fuzzTicks(bytes);
    fuzzPressure(bytes);
    fuzzThermal(bytes);
    fuzzThrottling(bytes);
    fuzzProcess(bytes);
    fuzzMachine(bytes);
    fuzzMounts(bytes);
}
