#include "core/metrics.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/fatal.h"
#include "core/units.h"
#include "platform/agents.h"
#include "platform/services.h"

namespace korvel {

using platform::CpuTicks;
using platform::VmStatistics;

Metrics& Metrics::shared() {
    static Metrics metrics = [] {
        if (platform::installedServices == nullptr) {
            fatal();
        }
        const platform::Services& services = *platform::installedServices;
        return Metrics(services.machine, services.processes, services.agents, services.clock);
    }();
    return metrics;
}

Metrics::Metrics(platform::Machine& machine, platform::Processes& processes,
                 platform::Agents& agents, platform::Clock& clock)
    : machine_(machine), processes_(processes), agents_(agents), clock_(clock) {}

Snapshot Metrics::snapshot() {
    const std::lock_guard lock(mutex_);
    Snapshot s;
    readMemory(s);
    readCpu(s);
    readSwap(s);
    readDisk(s);
    s.load1 = machine_.loadAverages()[0];
    s.uptime = uptimeString();
    s.topProcs = topProcesses();
    s.wardenOn = wardenRunning();
    s.thermal = static_cast<ThermalState>(machine_.thermalState());
    score(s);
    return s;
}

void Metrics::readMemory(Snapshot& s) {
    s.memTotalGB = gigabytes(static_cast<double>(machine_.physicalMemory()));
    s.cores = machine_.processorCount();
    const std::optional<VmStatistics> stats = machine_.vmStatistics();
    if (!stats) {
        return;
    }
    const auto page = static_cast<double>(machine_.pageSize());
    // The counts are 32-bit, their sums need not be.
    const auto pages = [page](std::uint64_t count) {
        return gigabytes(static_cast<double>(count) * page);
    };
    s.memUsedGB = pages(std::uint64_t{stats->active_count} + stats->wire_count +
                        stats->compressor_page_count);
    s.compressedGB = pages(stats->compressor_page_count);
    if (s.memTotalGB > 0) {
        const double pct = s.memUsedGB / s.memTotalGB * 100;
        s.memPct = pct < 100 ? pct : 100;
    }
    s.memAvailableGB = pages(std::uint64_t{stats->free_count} + stats->inactive_count +
                             stats->speculative_count + stats->purgeable_count);
    const MemPressure normal = MemPressure::normal;
    s.memPressure = memPressure(machine_.memoryPressureLevel().value_or(1)).value_or(normal);
    s.swappingNow = isSwappingNow(*stats);
}

void Metrics::readCpu(Snapshot& s) {
    const std::optional<CpuTicks> ticks = machine_.cpuTicks();
    if (!ticks) {
        return;
    }
    if (lastCPULoad_) {
        const auto since = [&](std::uint32_t CpuTicks::*counter) {
            return static_cast<double>(
                checkedSubtract((*ticks).*counter, (*lastCPULoad_).*counter));
        };
        const double user = since(&CpuTicks::user);
        const double system = since(&CpuTicks::system);
        const double idle = since(&CpuTicks::idle);
        const double nice = since(&CpuTicks::nice);
        const double busy = user + system + nice;
        const double total = busy + idle;
        if (total > 0) {
            s.cpuPct = std::clamp(busy / total * 100, 0.0, 100.0);
        }
    }
    lastCPULoad_ = ticks;
}

void Metrics::readSwap(Snapshot& s) {
    if (const std::optional<platform::SwapUsage> swap = machine_.swapUsage()) {
        s.swapUsedGB = gigabytes(static_cast<double>(swap->xsu_used));
        s.swapTotalGB = gigabytes(static_cast<double>(swap->xsu_total));
        s.swapPct = s.swapTotalGB > 0 ? s.swapUsedGB / s.swapTotalGB * 100 : 0;
    }
}

void Metrics::readDisk(Snapshot& s) {
    if (const std::optional<platform::VolumeStatistics> volume = machine_.dataVolume()) {
        const auto bsize = static_cast<double>(volume->f_bsize);
        const double available = bsize * static_cast<double>(volume->f_bavail);
        s.diskFreeGB = gigabytes(available);
        const double total = bsize * static_cast<double>(volume->f_blocks);
        if (total > 0) {
            // Used against used plus available: blocks kept for the system are in neither.
            const double used = total - bsize * static_cast<double>(volume->f_bfree);
            s.diskPct = used / (used + available) * 100;
        }
    }
}

bool Metrics::isSwappingNow(const VmStatistics& stats) {
    // Over a shorter gap a handful of pages would already look like a high rate.
    constexpr double kShortestGap = 0.5;  // seconds
    constexpr double kSwappingRate = 150; // pages a second
    const platform::Date now = clock_.now();
    const std::uint64_t before = lastSwapouts_;
    const platform::Date sampledAt = lastSwapSample_;
    lastSwapouts_ = stats.swapouts;
    lastSwapSample_ = now;
    const double dt = now - sampledAt;
    if (sampledAt == platform::kDistantPast || !(dt > kShortestGap) || stats.swapouts < before) {
        return false;
    }
    return static_cast<double>(stats.swapouts - before) / dt > kSwappingRate;
}

std::string Metrics::uptimeString() {
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    constexpr std::int64_t kDay = 24 * kHour;
    const std::optional<std::int64_t> boot = machine_.bootTime();
    if (!boot) {
        return {};
    }
    const std::int64_t secs = checkedSubtract(checkedInt(clock_.now()), *boot);
    if (secs >= kDay) {
        return fmt::format("{}d {}h", secs / kDay, secs % kDay / kHour);
    }
    if (secs < kHour) {
        return fmt::format("{}m", secs % kHour / kMinute);
    }
    return fmt::format("{}h {}m", secs / kHour, secs % kHour / kMinute);
}

bool Metrics::wardenRunning() {
    return agents_.isLoaded(std::string(wardenLabel));
}

} // namespace korvel
