#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "platform/linux/kernel/cpu_ticks.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/pressure.h"
#include "platform/linux/kernel/thermal_reader.h"
#include "platform/linux/kernel/zram_reader.h"
#include "platform/machine.h"

namespace korvel::platform {

/// One reading of a file from which several functions are answered: taken anew when a function asks
/// for the second time, or when it is older than a tenth of a second. So a sample, which asks each
/// function once, reads the file once.
class SharedReading {
  public:
    enum class User : unsigned { first = 1, second = 2, third = 4, fourth = 8 };

    /// True: the reading may be used. False: take another now.
    bool isCurrent(User user);

  private:
    unsigned usedBy_ = 0;
    std::chrono::steady_clock::time_point takenAt_;
};

/// The machine as /proc and /sys tell it. Callable from any thread.
class LinuxMachine final : public Machine {
  public:
    /// `root` is the folder that holds proc and sys; `dataPath` any path on the data volume.
    explicit LinuxMachine(const std::string& root = "/", std::string dataPath = "/",
                          FileCalls& calls = FileCalls::system());

    std::uint64_t physicalMemory() override; ///< what the kernel manages; 0 when it cannot be read
    int processorCount() override;           ///< those online
    int thermalState() override;
    std::uint64_t pageSize() override;
    /// The sets do not overlap here: nothing is speculative or purgeable.
    std::optional<VmStatistics> vmStatistics() override;
    /// Mean ticks of a processor since the first call, see `CpuTickAccumulator`.
    std::optional<CpuTicks> cpuTicks() override;
    std::optional<std::int32_t> memoryPressureLevel() override;
    std::optional<SwapUsage> swapUsage() override;
    std::optional<VolumeStatistics> dataVolume() override;
    std::array<double, 3> loadAverages() override;
    std::optional<std::int64_t> bootTime() override;

  private:
    const std::optional<Meminfo>& meminfo(SharedReading::User user);
    const KernelStat& stat(SharedReading::User user);

    std::mutex mutex_;
    std::string dataPath_;
    KeptFile meminfoFile_;
    KeptFile statFile_;
    KeptFile vmstatFile_;
    KeptFile pressureFile_;
    KeptFile loadFile_;
    KeptFile onlineFile_;
    ZramReader zram_;
    ThermalReader thermal_;
    std::string buffer_;

    SharedReading meminfoReading_;
    std::optional<Meminfo> meminfo_;
    SharedReading statReading_;
    KernelStat stat_;

    std::uint64_t swapouts_ = 0;
    CpuTickAccumulator ticks_;
    PressureRule pressure_;
};

} // namespace korvel::platform
