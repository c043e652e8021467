#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/machine.h"

namespace korvel::platform {

/// The figures of /proc/meminfo that are used, in bytes. A field that is absent or unreadable is
/// none: which ones there are differs between kernels.
struct Meminfo {
    std::uint64_t memTotal = 0; ///< never 0
    std::optional<std::uint64_t> memFree;
    std::optional<std::uint64_t> memAvailable;
    std::optional<std::uint64_t> buffers;
    std::optional<std::uint64_t> cached;
    std::optional<std::uint64_t> activeAnon;
    std::optional<std::uint64_t> inactiveAnon;
    std::optional<std::uint64_t> shmem;
    std::optional<std::uint64_t> sReclaimable;
    std::optional<std::uint64_t> sUnreclaim;
    std::optional<std::uint64_t> kernelStack;
    std::optional<std::uint64_t> pageTables;
    std::optional<std::uint64_t> secPageTables;
    std::optional<std::uint64_t> percpu;
    std::optional<std::uint64_t> mlocked;
    std::optional<std::uint64_t> hugetlb;
    std::optional<std::uint64_t> balloon;
    std::optional<std::uint64_t> zswap;
    std::optional<std::uint64_t> swapTotal;
    std::optional<std::uint64_t> swapFree;
};

/// nullopt without a MemTotal above 0. Of a field that stands twice the first counts; fields that
/// are not known are passed over.
std::optional<Meminfo> parseMeminfo(std::string_view text);

/// What can be handed out without paging: the kernel's own estimate, or, from kernels before 3.14,
/// free memory and what caches could give back. At most the total; nullopt without figures.
std::optional<std::uint64_t> availableMemory(const Meminfo& memory);

/// Adds to what is available a cache that the kernel counts as used, in bytes.
void addToAvailable(Meminfo& memory, std::uint64_t cache);

/// nullopt unless both figures are there.
std::optional<SwapUsage> swapUsage(const Meminfo& memory);

/// Memory by use, `compressed` bytes of it holding compressed pages. Free, inactive, speculative
/// and purgeable pages together are the available memory; the wired ones are what the kernel cannot
/// give back; and the active ones are the rest, so that all of it together is the total. Counts
/// stop at the 32-bit limit. `swapouts` is left at 0. nullopt when the available memory is not
/// known.
std::optional<VmStatistics> vmStatistics(const Meminfo& memory, std::uint64_t compressed,
                                         std::uint64_t pageSize);

} // namespace korvel::platform
