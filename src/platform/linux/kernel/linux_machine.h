#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/linux/kernel/cpu_ticks.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/meminfo_reader.h"
#include "platform/linux/kernel/pressure_reader.h"
#include "platform/linux/kernel/swapouts.h"
#include "platform/linux/kernel/thermal_reader.h"
#include "platform/linux/kernel/volume_reader.h"
#include "platform/linux/kernel/zram_reader.h"
#include "platform/machine.h"

namespace korvel::platform {

/// The machine as /proc and /sys tell it. Its files stay open between readings, and a reading reads
/// each of them at most once, however many of its functions are answered from it.
///
/// Of the figures: processors are those online; physical memory is what the kernel manages; of page
/// counts none overlap, because nothing is speculative or purgeable; ticks are the mean of the
/// processors since the first reading that asked for them (see `CpuTickAccumulator`).
class LinuxMachine final : public Machine {
  public:
    /// `root` is the folder that holds proc and sys; `dataPath` any absolute path on the data
    /// volume, which is this system's, whatever the root and the calls. `meminfo` may be shared
    /// with the processes; without it the machine has one of its own.
    explicit LinuxMachine(const std::string& root = "/", std::string dataPath = "/",
                          FileCalls& calls = FileCalls::system(),
                          SteadyClock now = std::chrono::steady_clock::now,
                          std::shared_ptr<MeminfoReader> meminfo = nullptr);

    std::unique_ptr<MachineReading> read() override;

  private:
    class Reading;

    VolumeReader dataVolume_; ///< not under the lock: a volume may take its time to answer

    /// Guards what follows. A reading holds it while it answers a question, not for its whole life:
    /// so readings overlap safely, and one thread may have two of them.
    std::mutex mutex_;
    const std::shared_ptr<MeminfoReader> meminfo_; ///< never null
    KeptFile zfsFile_;
    KeptFile statFile_;
    KeptFile vmstatFile_;
    KeptFile loadFile_;
    KeptFile onlineFile_;
    ZramReader zram_;
    SwapoutCounter swapouts_;
    PressureReader pressure_;
    ThermalReader thermal_;
    std::string buffer_;

    CpuTickAccumulator ticks_;
};

} // namespace korvel::platform
