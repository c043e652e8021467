#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/machine.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// A figure of a simulated machine, and whether asking for it fails. The value is kept while it
/// fails, so that a figure which comes back goes on from where it was.
template <typename T>
struct Fallible {
    T value{};
    bool fails = false;

    T* operator->() { return &value; }
    /// What asking for it gives from now on; nullopt: it fails.
    void set(std::optional<T> figure) {
        fails = !figure;
        if (figure) {
            value = std::move(*figure);
        }
    }
    std::optional<T> take() const { return fails ? std::nullopt : std::optional<T>(value); }
};

/// Wall clock at the launch of a simulated program: seconds since 1970.
inline constexpr double kSimulatedStart = 1700000000.0;
/// How long before the launch a simulated machine was started: 3 days and 4 hours, in seconds.
inline constexpr std::int64_t kSimulatedUptime = 273600;

/// The figures of a simulated machine. As made, those of an idle, healthy one with 10 processors
/// and 16 GiB of memory, which scores 100.
struct SimulatedReadings {
    Fallible<std::uint64_t> physicalMemory{std::uint64_t{16} << 30};
    Fallible<int> processorCount{10};
    int thermalState = 0;
    std::uint64_t pageSize = 16384;
    /// 3 GiB free, 5 GiB in use, 6 GiB inactive, 2 GiB wired.
    Fallible<VmStatistics> vm{{.free_count = 196608,
                               .active_count = 327680,
                               .inactive_count = 393216,
                               .wire_count = 131072,
                               .speculative_count = 0,
                               .purgeable_count = 0,
                               .compressor_page_count = 0,
                               .swapouts = 0}};
    Fallible<CpuTicks> cpuTicks{{.user = 1000, .system = 500, .idle = 100000, .nice = 0}};
    Fallible<std::int32_t> pressureLevel{1};
    Fallible<SwapUsage> swap;
    /// 500 GiB, half of it free.
    Fallible<VolumeStatistics> volume{
        {.f_bsize = 4096, .f_blocks = 131072000, .f_bfree = 65536000, .f_bavail = 65536000}};
    Fallible<std::array<double, 3>> load;
    Unreported unreported;
    Fallible<std::int64_t> bootTime{static_cast<std::int64_t>(kSimulatedStart) - kSimulatedUptime};
};

/// Answers from `readings`, which may change at any time, in the midst of a reading too. For one
/// thread.
class SimulatedMachine final : public Machine, public Logging {
  public:
    SimulatedReadings readings;
    std::function<void()> onRead; ///< called when a reading begins; may be empty

    std::unique_ptr<MachineReading> read() override;

  private:
    class Reading;
};

} // namespace korvel::platform
