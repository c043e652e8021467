#include "platform/linux/kernel/meminfo.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

using Field = std::optional<std::uint64_t> Meminfo::*;

constexpr std::array<std::pair<std::string_view, Field>, 19> kFields{{
    {"MemFree", &Meminfo::memFree},
    {"MemAvailable", &Meminfo::memAvailable},
    {"Buffers", &Meminfo::buffers},
    {"Cached", &Meminfo::cached},
    {"Active(anon)", &Meminfo::activeAnon},
    {"Inactive(anon)", &Meminfo::inactiveAnon},
    {"Shmem", &Meminfo::shmem},
    {"SReclaimable", &Meminfo::sReclaimable},
    {"SUnreclaim", &Meminfo::sUnreclaim},
    {"KernelStack", &Meminfo::kernelStack},
    {"PageTables", &Meminfo::pageTables},
    {"SecPageTables", &Meminfo::secPageTables},
    {"Percpu", &Meminfo::percpu},
    {"Mlocked", &Meminfo::mlocked},
    {"Hugetlb", &Meminfo::hugetlb},
    {"Balloon", &Meminfo::balloon},
    {"Zswap", &Meminfo::zswap},
    {"SwapTotal", &Meminfo::swapTotal},
    {"SwapFree", &Meminfo::swapFree},
}};

/// The bytes of "  123 kB"; nullopt for any other form.
std::optional<std::uint64_t> kibibytes(std::string_view value) {
    constexpr std::uint64_t kKibibyte = 1024;
    const auto number = wholeNumber<std::uint64_t>(takeWord(value));
    if (!number || takeWord(value) != "kB" || !takeWord(value).empty() ||
        *number > std::numeric_limits<std::uint64_t>::max() / kKibibyte) {
        return std::nullopt;
    }
    return *number * kKibibyte;
}

std::uint32_t count(std::uint64_t pages) {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(pages, std::numeric_limits<std::uint32_t>::max()));
}

/// A sum that stops at the largest number, for figures that are nonsense.
std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
    return a > std::numeric_limits<std::uint64_t>::max() - b
               ? std::numeric_limits<std::uint64_t>::max()
               : a + b;
}

} // namespace

std::optional<Meminfo> parseMeminfo(std::string_view text) {
    Meminfo memory;
    while (const std::optional<std::string_view> line = takeLine(text)) {
        const std::size_t colon = line->find(':');
        if (colon == std::string_view::npos) {
            continue;
        }
        const std::string_view name = line->substr(0, colon);
        const std::string_view value = line->substr(colon + 1);
        if (name == "MemTotal") {
            if (memory.memTotal == 0) {
                memory.memTotal = kibibytes(value).value_or(0);
            }
            continue;
        }
        const auto* field = std::find_if(kFields.begin(), kFields.end(),
                                         [&](const auto& known) { return known.first == name; });
        if (field != kFields.end() && !(memory.*field->second)) {
            memory.*field->second = kibibytes(value);
        }
    }
    return memory.memTotal > 0 ? std::optional(memory) : std::nullopt;
}

std::optional<std::uint64_t> availableMemory(const Meminfo& memory) {
    if (memory.memAvailable) {
        return std::min(*memory.memAvailable, memory.memTotal);
    }
    if (!memory.memFree) {
        return std::nullopt;
    }
    // Shared memory is counted as cached, but has no file to be read back from.
    const std::uint64_t cached = memory.cached.value_or(0);
    const std::uint64_t files = cached - std::min(cached, memory.shmem.value_or(0));
    std::uint64_t available = *memory.memFree;
    for (const std::uint64_t part :
         {memory.buffers.value_or(0), files, memory.sReclaimable.value_or(0)}) {
        available = saturatingSum(available, part);
    }
    return std::min(available, memory.memTotal);
}

void addToAvailable(Meminfo& memory, std::uint64_t cache) {
    if (const auto available = availableMemory(memory)) {
        memory.memAvailable = saturatingSum(*available, cache);
    }
}

std::optional<SwapUsage> swapUsage(const Meminfo& memory) {
    if (!memory.swapTotal || !memory.swapFree) {
        return std::nullopt;
    }
    SwapUsage swap;
    swap.xsu_total = *memory.swapTotal;
    swap.xsu_avail = std::min(*memory.swapFree, *memory.swapTotal);
    swap.xsu_used = swap.xsu_total - swap.xsu_avail;
    return swap;
}

std::optional<VmStatistics> vmStatistics(const Meminfo& memory, std::uint64_t compressed,
                                         std::uint64_t pageSize) {
    const std::optional<std::uint64_t> availableBytes = availableMemory(memory);
    if (!availableBytes || pageSize == 0) {
        return std::nullopt;
    }
    std::uint64_t kernel = 0;
    for (const auto& part :
         {memory.sUnreclaim, memory.kernelStack, memory.pageTables, memory.secPageTables,
          memory.percpu, memory.mlocked, memory.hugetlb, memory.balloon}) {
        kernel = saturatingSum(kernel, part.value_or(0));
    }
    const std::uint64_t available = *availableBytes / pageSize;
    const std::uint64_t used = memory.memTotal / pageSize - available;
    const std::uint64_t compressor = std::min(compressed / pageSize, used);
    const std::uint64_t wire = std::min(kernel / pageSize, used - compressor);
    const std::uint64_t free = std::min(memory.memFree.value_or(0) / pageSize, available);

    VmStatistics statistics;
    statistics.free_count = count(free);
    statistics.inactive_count = count(available - free);
    statistics.wire_count = count(wire);
    statistics.compressor_page_count = count(compressor);
    statistics.active_count = count(used - compressor - wire);
    return statistics;
}

} // namespace korvel::platform
