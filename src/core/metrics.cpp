#include "core/metrics.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "base/fatal.h"
#include "core/units.h"
#include "platform/agents.h"
#include "platform/processes.h"
#include "platform/services.h"

namespace korvel {

using platform::CpuTicks;
using platform::MachineReading;
using platform::VmStatistics;

namespace {

void readSwap(MachineReading& reading, Snapshot& s) {
    if (const std::optional<platform::SwapUsage> swap = reading.swapUsage()) {
        s.swapUsedGB = gigabytes(static_cast<double>(swap->xsu_used));
        s.swapTotalGB = gigabytes(static_cast<double>(swap->xsu_total));
        s.swapPct = s.swapTotalGB > 0 ? s.swapUsedGB / s.swapTotalGB * 100 : 0;
    }
}

void readDisk(MachineReading& reading, Snapshot& s) {
    if (const std::optional<platform::VolumeStatistics> volume = reading.dataVolume()) {
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

} // namespace

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
    const std::unique_ptr<MachineReading> reading = machine_.read();
    Snapshot s;
    readMemory(*reading, s);
    readCpu(*reading, s);
    readSwap(*reading, s);
    readDisk(*reading, s);
    if (const auto averages = reading->loadAverages()) {
        s.load1 = averages->front();
    }
    if (const std::optional<std::int64_t> boot = reading->bootTime()) {
        s.uptime = uptimeString(*boot);
    }
    s.topProcs = topProcesses();
    s.wardenOn = wardenRunning();
    s.thermal = static_cast<ThermalState>(reading->thermalState());
    s.unreported = reading->unreported();
    s.unreported.otherProcesses = processes_.hidesOthers();
    score(s);
    return s;
}

void Metrics::readMemory(MachineReading& reading, Snapshot& s) {
    if (const std::optional<std::uint64_t> memory = reading.physicalMemory()) {
        s.memTotalGB = gigabytes(static_cast<double>(*memory));
    }
    if (const std::optional<int> processors = reading.processorCount()) {
        s.cores = *processors;
    }
    const std::optional<VmStatistics> stats = reading.vmStatistics();
    if (!stats) {
        return;
    }
    const auto page = static_cast<double>(reading.pageSize());
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
    if (const std::optional<std::int32_t> level = reading.memoryPressureLevel()) {
        s.memPressure = memPressure(*level).value_or(MemPressure::normal);
    }
    s.swappingNow = isSwappingNow(*stats);
}

void Metrics::readCpu(MachineReading& reading, Snapshot& s) {
    const std::optional<CpuTicks> ticks = reading.cpuTicks();
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

std::string Metrics::uptimeString(std::int64_t bootTime) {
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    constexpr std::int64_t kDay = 24 * kHour;
    const std::int64_t secs = checkedSubtract(checkedInt(clock_.now()), bootTime);
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
