#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/snapshot.h"
#include "platform/clock.h"
#include "platform/machine.h"

namespace korvel::platform {
class Agents;
class Processes;
class SwappedMemory;
} // namespace korvel::platform

namespace korvel {

/// The sampler: takes every reading of the machine and scores it. It remembers the counters of its
/// previous reading, because a share of processor time and a rate of swapping need two. A snapshot
/// may be taken on any thread; one that meets another waits for it.
class Metrics {
  public:
    /// A process at or above this footprint is a runaway.
    static constexpr double runawayGB = 8.0;
    /// Free space below this is getting tight.
    static constexpr double diskWarnGB = 25.0;
    /// Free space below this is critical.
    static constexpr double diskCritGB = 10.0;

    /// The watchdog agent's label, as its deployment registers it.
    static constexpr std::string_view wardenLabel = "com.oxbrook.warden.agent";
    static_assert(wardenLabel.size() == 24);

    /// The program's own sampler, built on the installed services at first use.
    static Metrics& shared();

    Metrics(platform::Machine& machine, platform::Processes& processes, platform::Agents& agents,
            platform::Clock& clock);

    /// Takes all readings and scores them, on the calling thread. A reading that cannot be taken
    /// keeps its default. Fatal: a processor tick counter below its previous value.
    Snapshot snapshot();

    /// The processes with the largest footprints above 0.05 GB, heaviest first, at most `limit`;
    /// empty when the table cannot be read. Fatal: a negative limit. Callable from any thread.
    std::vector<ProcInfo> topProcesses(int limit = 5) const;

    /// How much of a process is swapped out, in GB; 0 when that cannot be told.
    static double swappedGB(std::int32_t pid, platform::SwappedMemory& memory);

    /// The scoring pass: fills in `factors`, `score`, `verdict`, `alerts` and `runaway` from the
    /// readings that stand in `snapshot`. The same readings always give the same result, but for
    /// the factors' identities.
    static void score(Snapshot& snapshot);

  private:
    void readMemory(platform::MachineReading& reading, Snapshot& s);
    void readCpu(platform::MachineReading& reading, Snapshot& s);
    bool isSwappingNow(const platform::VmStatistics& stats);
    std::string uptimeString(std::int64_t bootTime);
    bool wardenRunning();

    platform::Machine& machine_;
    platform::Processes& processes_;
    platform::Agents& agents_;
    platform::Clock& clock_;

    /// Held for a whole snapshot: guards what follows, and services that serve one thread at a
    /// time.
    std::mutex mutex_;

    std::optional<platform::CpuTicks> lastCPULoad_;
    std::uint64_t lastSwapouts_ = 0;
    platform::Date lastSwapSample_ = platform::kDistantPast;
};

} // namespace korvel
