#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace korvel::platform {

/// Memory by use, in pages, with the names of the system's record. The sets overlap: speculative
/// pages are also counted as free, purgeable ones also as active or inactive.
struct VmStatistics {
    std::uint32_t free_count = 0;
    std::uint32_t active_count = 0;
    std::uint32_t inactive_count = 0;
    std::uint32_t wire_count = 0;
    std::uint32_t speculative_count = 0;
    std::uint32_t purgeable_count = 0;
    std::uint32_t compressor_page_count = 0;
    /// Pages of 16 KiB written to swap on a disk since boot: the reference machine's page, whatever
    /// `MachineReading::pageSize` is, so that a rate means the same bytes everywhere. Only the
    /// differences between readings of a machine are exact. It never falls.
    std::uint64_t swapouts = 0;
};

/// Scheduler ticks of all processors. No counter falls or wraps from one reading of a machine to
/// the next, for as long as the machine's object lives: the sampler treats a step back as fatal.
struct CpuTicks {
    std::uint32_t user = 0;
    std::uint32_t system = 0;
    std::uint32_t idle = 0;
    std::uint32_t nice = 0;
};

/// Swap space in bytes.
struct SwapUsage {
    std::uint64_t xsu_total = 0;
    std::uint64_t xsu_avail = 0;
    std::uint64_t xsu_used = 0;
};

/// Blocks of a file system. `f_bavail` is what a user without privileges may still use.
struct VolumeStatistics {
    std::uint64_t f_bsize = 0; ///< bytes in a block
    std::uint64_t f_blocks = 0;
    std::uint64_t f_bfree = 0;
    std::uint64_t f_bavail = 0;
};

/// What a machine has no figure for, by its nature and not by a mishap: no file system that counts
/// blocks, no sensor of the processor. A reading that fails is something else; it keeps its
/// default.
struct Unreported {
    bool dataVolume = false;
    bool thermalState = false;
    bool memoryStall = false;    ///< the pressure level rests on available memory alone
    bool otherProcesses = false; ///< those of other users are hidden

    bool operator==(const Unreported&) const = default;
};

/// One reading of the machine, for one sample. Each function takes its figure when it is called, so
/// that what is not asked for is not read; nullopt says that it could not be taken. A reading may
/// answer from what it read before: for figures of a later moment, take another one. It is used by
/// one thread at a time and destroyed before the machine.
class MachineReading {
  public:
    virtual ~MachineReading() = default;

    virtual std::optional<std::uint64_t> physicalMemory() = 0; ///< bytes
    virtual std::optional<int> processorCount() = 0;           ///< logical processors, 1 or more
    /// 0 nominal, 1 fair, 2 serious, 3 critical; other values are handed on as they come. A machine
    /// without sensors is nominal.
    virtual int thermalState() = 0;
    virtual std::uint64_t pageSize() = 0; ///< bytes
    virtual std::optional<VmStatistics> vmStatistics() = 0;
    virtual std::optional<CpuTicks> cpuTicks() = 0;
    /// The kernel's level: 1 normal, 2 warning, 4 critical.
    virtual std::optional<std::int32_t> memoryPressureLevel() = 0;
    virtual std::optional<SwapUsage> swapUsage() = 0;
    /// The volume that holds the user's data.
    virtual std::optional<VolumeStatistics> dataVolume() = 0;
    /// Over 1, 5 and 15 minutes.
    virtual std::optional<std::array<double, 3>> loadAverages() = 0;
    virtual std::optional<std::int64_t> bootTime() = 0; ///< whole seconds since 1970
    /// Of the figures above, those that this machine has none for; to be asked after them. The
    /// processes are not of the machine's telling: see `Processes::hidesOthers`.
    virtual Unreported unreported() { return {}; }
};

/// The machine that the program runs on. Readings may be taken on any thread, several at a time,
/// unless the backend says otherwise.
class Machine {
  public:
    virtual ~Machine() = default;

    /// Begins a reading, which reads nothing yet; never null.
    virtual std::unique_ptr<MachineReading> read() = 0;
};

} // namespace korvel::platform
