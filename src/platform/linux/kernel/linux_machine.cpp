#include "platform/linux/kernel/linux_machine.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include <unistd.h>

#include "platform/linux/kernel/machine_texts.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/root_folder.h"
#include "platform/linux/kernel/zfs_cache.h"

namespace korvel::platform {

namespace {

/// A value that is found when it is first asked for, and kept.
template <typename Value>
class Once {
  public:
    template <typename Find>
    const Value& get(Find find) {
        if (!value_) {
            value_.emplace(find());
        }
        return *value_;
    }

  private:
    std::optional<Value> value_;
};

} // namespace

/// Keeps what it has read: several functions are answered from meminfo and from stat, and every
/// other file belongs to one function, whose answer is kept.
class LinuxMachine::Reading final : public MachineReading {
  public:
    explicit Reading(LinuxMachine& machine) : machine_(machine) {}

    std::optional<std::uint64_t> physicalMemory() override {
        const std::lock_guard lock(machine_.mutex_);
        const std::optional<Meminfo>& memory = meminfo();
        return memory ? std::optional(memory->memTotal) : std::nullopt;
    }

    std::optional<int> processorCount() override {
        const std::lock_guard lock(machine_.mutex_);
        return processorCount_.get([this] { return readProcessorCount(); });
    }

    int thermalState() override {
        const std::lock_guard lock(machine_.mutex_);
        return thermalState_.get([this] { return machine_.thermal_.state(); });
    }

    std::uint64_t pageSize() override {
        static const long size = ::sysconf(_SC_PAGESIZE);
        return static_cast<std::uint64_t>(size);
    }

    std::optional<VmStatistics> vmStatistics() override {
        const std::lock_guard lock(machine_.mutex_);
        return vmStatistics_.get([this] { return readVmStatistics(); });
    }

    std::optional<CpuTicks> cpuTicks() override {
        const std::lock_guard lock(machine_.mutex_);
        return cpuTicks_.get([this] { return machine_.ticks_.add(stat().processors); });
    }

    std::optional<std::int32_t> memoryPressureLevel() override {
        const std::lock_guard lock(machine_.mutex_);
        const std::optional<PressureReading>& reading = pressure();
        return reading ? std::optional(reading->level) : std::nullopt;
    }

    std::optional<SwapUsage> swapUsage() override {
        const std::lock_guard lock(machine_.mutex_);
        const std::optional<Meminfo>& memory = meminfo();
        return memory ? platform::swapUsage(*memory) : std::nullopt;
    }

    std::optional<VolumeStatistics> dataVolume() override {
        return dataVolume_.get([this] { return machine_.dataVolume_.read(); });
    }

    std::optional<std::array<double, 3>> loadAverages() override {
        const std::lock_guard lock(machine_.mutex_);
        return loadAverages_.get([this] { return parsed(machine_.loadFile_, parseLoadAverages); });
    }

    std::optional<std::int64_t> bootTime() override {
        const std::lock_guard lock(machine_.mutex_);
        return stat().btime;
    }

    Unreported unreported() override {
        Unreported figures;
        // Whatever keeps a volume from telling its room: that it is full is not known.
        figures.dataVolume = !dataVolume();
        const std::lock_guard lock(machine_.mutex_);
        figures.thermalState = !machine_.thermal_.reports();
        const std::optional<PressureReading>& reading = pressure();
        figures.memoryStall = reading && !reading->stallReported;
        return figures;
    }

  private:
    // All of these with the machine's lock held.

    /// What the text of a file says; the empty record when the file cannot be read.
    template <typename Parse>
    auto parsed(KeptFile& file, Parse parse, Enough enough = nullptr)
        -> decltype(parse(std::string_view())) {
        const std::optional<std::string_view> text = file.read(machine_.buffer_, enough);
        return text ? parse(*text) : decltype(parse(*text))();
    }

    const std::optional<Meminfo>& meminfo() {
        return meminfo_.get([this] { return readMeminfo(); });
    }

    const ZramUse& zramUse() {
        return zramUse_.get([this] { return machine_.zram_.use(); });
    }

    const std::optional<PressureReading>& pressure() {
        return pressure_.get([this] {
            const std::optional<Meminfo>& memory = meminfo();
            return memory ? machine_.pressure_.read(*memory, [this] { return zramUse(); })
                          : std::nullopt;
        });
    }

    const KernelStat& stat() {
        return stat_.get([this] { return parsed(machine_.statFile_, parseKernelStat); });
    }

    std::optional<Meminfo> readMeminfo() {
        std::optional<Meminfo> memory = machine_.meminfo_->read();
        if (memory) {
            addToAvailable(*memory, parsed(machine_.zfsFile_, parseZfsCache).value_or(0));
        }
        return memory;
    }

    std::optional<int> readProcessorCount() {
        if (const auto online = parsed(machine_.onlineFile_, countProcessors)) {
            return online;
        }
        const std::size_t listed = stat().processors.size();
        return listed > 0 ? std::optional(static_cast<int>(listed)) : std::nullopt;
    }

    std::optional<VmStatistics> readVmStatistics() {
        const std::optional<Meminfo>& memory = meminfo();
        if (!memory) {
            return std::nullopt;
        }
        const std::uint64_t compressed = memory->zswap.value_or(0) + zramUse().memoryUsed;
        auto statistics = platform::vmStatistics(*memory, compressed, pageSize());
        if (statistics) {
            // A kernel without swap has no such line.
            const auto swapouts = parsed(machine_.vmstatFile_, parseSwapouts, tellsSwapouts);
            statistics->swapouts = machine_.swapouts_.count(swapouts, pageSize());
        }
        return statistics;
    }

    LinuxMachine& machine_;
    Once<std::optional<Meminfo>> meminfo_;
    Once<KernelStat> stat_;
    Once<std::optional<int>> processorCount_;
    Once<int> thermalState_;
    Once<std::optional<VmStatistics>> vmStatistics_;
    Once<std::optional<CpuTicks>> cpuTicks_;
    Once<std::optional<VolumeStatistics>> dataVolume_;
    Once<ZramUse> zramUse_;
    Once<std::optional<PressureReading>> pressure_;
    Once<std::optional<std::array<double, 3>>> loadAverages_;
};

LinuxMachine::LinuxMachine(const std::string& root, std::string dataPath, FileCalls& calls,
                           SteadyClock now, std::shared_ptr<MeminfoReader> meminfo)
    : dataVolume_(std::move(dataPath)),
      meminfo_(meminfo ? std::move(meminfo)
                       : std::make_shared<MeminfoReader>(calls, rootFolder(root))),
      zfsFile_(calls, rootFolder(root) + "proc/spl/kstat/zfs/arcstats", HandedOver::inPieces),
      statFile_(calls, rootFolder(root) + "proc/stat"),
      vmstatFile_(calls, rootFolder(root) + "proc/vmstat", HandedOver::inPieces),
      loadFile_(calls, rootFolder(root) + "proc/loadavg"),
      onlineFile_(calls, rootFolder(root) + "sys/devices/system/cpu/online"),
      zram_(calls, rootFolder(root)), swapouts_(calls, rootFolder(root), zram_),
      pressure_(calls, rootFolder(root)), thermal_(calls, rootFolder(root), std::move(now)) {}

std::unique_ptr<MachineReading> LinuxMachine::read() {
    return std::make_unique<Reading>(*this);
}

} // namespace korvel::platform
