#include "report/reading_texts.h"

#include <cstdint>
#include <optional>

#include <fmt/format.h>

#include "base/utf8.h"
#include "core/snapshot.h"
#include "platform/machine.h"
#include "platform/processes.h"

namespace korvel {

namespace {

constexpr const char* kNone = "none";

} // namespace

std::string ReadingTexts::physicalMemory() {
    const auto memory = reading_.physicalMemory();
    return memory ? fmt::format("{} bytes", *memory) : kNone;
}

std::string ReadingTexts::processorCount() {
    const auto count = reading_.processorCount();
    return count ? fmt::format("{}", *count) : kNone;
}

std::string ReadingTexts::pageSize() {
    return fmt::format("{} bytes", reading_.pageSize());
}

std::string ReadingTexts::thermalState() {
    const int state = reading_.thermalState();
    return reading_.unreported().thermalState ? kNotReported : fmt::format("{}", state);
}

std::string ReadingTexts::vmStatistics() {
    const auto vm = reading_.vmStatistics();
    return vm ? fmt::format("free {}, active {}, inactive {}, wired {}, speculative {}, "
                            "purgeable {}, compressor {} pages; {} of 16 KiB swapped out",
                            vm->free_count, vm->active_count, vm->inactive_count, vm->wire_count,
                            vm->speculative_count, vm->purgeable_count, vm->compressor_page_count,
                            vm->swapouts)
              : kNone;
}

std::string ReadingTexts::memory() {
    const auto vm = reading_.vmStatistics();
    const std::uint64_t page = reading_.pageSize();
    return vm ? fmt::format("available {}, used {} bytes",
                            page * (std::uint64_t{vm->free_count} + vm->inactive_count +
                                    vm->speculative_count + vm->purgeable_count),
                            page * (std::uint64_t{vm->active_count} + vm->wire_count +
                                    vm->compressor_page_count))
              : kNone;
}

std::string ReadingTexts::compressedMemory() {
    const auto vm = reading_.vmStatistics();
    return vm ? fmt::format("{} bytes", reading_.pageSize() * vm->compressor_page_count) : kNone;
}

std::string ReadingTexts::memoryPressureLevel() {
    const auto level = reading_.memoryPressureLevel();
    const bool stalls = !reading_.unreported().memoryStall;
    return level ? fmt::format("{}{}", *level, stalls ? "" : ", by available memory alone") : kNone;
}

std::string ReadingTexts::swapUsage() {
    const auto swap = reading_.swapUsage();
    return swap ? fmt::format("total {}, used {}, free {} bytes", swap->xsu_total, swap->xsu_used,
                              swap->xsu_avail)
                : kNone;
}

std::string ReadingTexts::dataVolume() {
    const auto volume = reading_.dataVolume();
    if (reading_.unreported().dataVolume) {
        return kNotReported;
    }
    return volume ? fmt::format("total {}, available {} bytes", volume->f_blocks * volume->f_bsize,
                                volume->f_bavail * volume->f_bsize)
                  : kNone;
}

std::string ReadingTexts::cpuTicks() {
    const auto ticks = reading_.cpuTicks();
    return ticks ? fmt::format("user {}, system {}, idle {}, nice {}", ticks->user, ticks->system,
                               ticks->idle, ticks->nice)
                 : kNone;
}

std::string ReadingTexts::loadAverages() {
    const auto loads = reading_.loadAverages();
    return loads ? fmt::format("{:.2f} {:.2f} {:.2f}", (*loads)[0], (*loads)[1], (*loads)[2])
                 : kNone;
}

std::string ReadingTexts::bootTime() {
    const auto boot = reading_.bootTime();
    return boot ? fmt::format("{} s since 1970", *boot) : kNone;
}

std::string ReadingTexts::processes() {
    std::size_t readable = 0;
    std::optional<std::int32_t> heaviest;
    std::uint64_t most = 0;
    const auto pids = processes_.listAllPids();
    for (const std::int32_t pid : pids) {
        const auto footprint = processes_.physFootprint(pid);
        readable += footprint ? 1 : 0;
        if (footprint && *footprint > most) {
            most = *footprint;
            heaviest = pid;
        }
    }
    std::string text = fmt::format("{} listed, {} readable", pids.size(), readable);
    if (processes_.hidesOthers()) {
        text += fmt::format(", those of other users {}", kNotReported);
    }
    if (heaviest) {
        text += fmt::format("; heaviest: {} {} with {} bytes", *heaviest,
                            decodeUtf8Lossy(processes_.name(*heaviest)), most);
    }
    return text;
}

} // namespace korvel
