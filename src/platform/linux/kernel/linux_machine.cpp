#include "platform/linux/kernel/linux_machine.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

#include "platform/linux/kernel/machine_texts.h"
#include "platform/linux/kernel/root_folder.h"
#include "platform/linux/kernel/volume_statistics.h"

namespace korvel::platform {

using User = SharedReading::User;

bool SharedReading::isCurrent(User user) {
    constexpr auto kOldest = std::chrono::milliseconds(100);
    const auto now = std::chrono::steady_clock::now();
    const auto bit = static_cast<unsigned>(user);
    const bool current = usedBy_ != 0 && (usedBy_ & bit) == 0 && now - takenAt_ <= kOldest;
    if (current) {
        usedBy_ |= bit;
    } else {
        usedBy_ = bit;
        takenAt_ = now;
    }
    return current;
}

LinuxMachine::LinuxMachine(const std::string& root, std::string dataPath, FileCalls& calls)
    : dataPath_(std::move(dataPath)), meminfoFile_(calls, rootFolder(root) + "proc/meminfo"),
      statFile_(calls, rootFolder(root) + "proc/stat"),
      vmstatFile_(calls, rootFolder(root) + "proc/vmstat"),
      pressureFile_(calls, rootFolder(root) + "proc/pressure/memory"),
      loadFile_(calls, rootFolder(root) + "proc/loadavg"),
      onlineFile_(calls, rootFolder(root) + "sys/devices/system/cpu/online"),
      zram_(calls, rootFolder(root)), thermal_(calls, rootFolder(root)) {}

std::uint64_t LinuxMachine::physicalMemory() {
    const std::lock_guard lock(mutex_);
    const std::optional<Meminfo>& memory = meminfo(User::first);
    return memory ? memory->memTotal : 0;
}

int LinuxMachine::processorCount() {
    const std::lock_guard lock(mutex_);
    const std::optional<std::string_view> list = onlineFile_.read(buffer_);
    if (const std::optional<int> online = list ? countProcessors(*list) : std::nullopt) {
        return *online;
    }
    return std::max(static_cast<int>(stat(User::first).processors.size()), 1);
}

int LinuxMachine::thermalState() {
    const std::lock_guard lock(mutex_);
    return thermal_.state();
}

std::uint64_t LinuxMachine::pageSize() {
    static const long size = ::sysconf(_SC_PAGESIZE);
    return static_cast<std::uint64_t>(size);
}

std::optional<VmStatistics> LinuxMachine::vmStatistics() {
    const std::lock_guard lock(mutex_);
    const std::optional<Meminfo>& memory = meminfo(User::second);
    if (!memory) {
        return std::nullopt;
    }
    const std::uint64_t compressed = memory->zswap.value_or(0) + zram_.memoryUsed();
    std::optional<VmStatistics> statistics =
        platform::vmStatistics(*memory, compressed, pageSize());
    if (statistics) {
        // A kernel without swap has no such line. Where it cannot be read just now, the last count
        // stands: a step to 0 and back would look like a burst of swapping.
        const std::optional<std::string_view> counters = vmstatFile_.read(buffer_);
        swapouts_ = (counters ? parseSwapouts(*counters) : std::nullopt).value_or(swapouts_);
        statistics->swapouts = swapouts_;
    }
    return statistics;
}

std::optional<CpuTicks> LinuxMachine::cpuTicks() {
    const std::lock_guard lock(mutex_);
    return ticks_.add(stat(User::second).processors);
}

std::optional<std::int32_t> LinuxMachine::memoryPressureLevel() {
    const std::lock_guard lock(mutex_);
    const std::optional<Meminfo>& memory = meminfo(User::third);
    const std::optional<std::uint64_t> available = memory ? availableMemory(*memory) : std::nullopt;
    if (!available) {
        return std::nullopt;
    }
    PressureFigures figures;
    const std::optional<std::string_view> stall = pressureFile_.read(buffer_);
    figures.stall = stall ? parseMemoryStall(*stall) : std::nullopt;
    figures.memTotal = memory->memTotal;
    figures.memAvailable = *available;
    figures.swapTotal = memory->swapTotal.value_or(0);
    figures.swapFree = memory->swapFree.value_or(0);
    return pressure_.level(figures);
}

std::optional<SwapUsage> LinuxMachine::swapUsage() {
    const std::lock_guard lock(mutex_);
    const std::optional<Meminfo>& memory = meminfo(User::fourth);
    return memory ? platform::swapUsage(*memory) : std::nullopt;
}

std::optional<VolumeStatistics> LinuxMachine::dataVolume() {
    struct statvfs volume {};
    if (::statvfs(dataPath_.c_str(), &volume) != 0) {
        return std::nullopt;
    }
    return volumeStatistics(volume);
}

std::array<double, 3> LinuxMachine::loadAverages() {
    const std::lock_guard lock(mutex_);
    const std::optional<std::string_view> text = loadFile_.read(buffer_);
    return text ? parseLoadAverages(*text) : std::array<double, 3>{};
}

std::optional<std::int64_t> LinuxMachine::bootTime() {
    const std::lock_guard lock(mutex_);
    return stat(User::third).btime;
}

const std::optional<Meminfo>& LinuxMachine::meminfo(User user) {
    if (!meminfoReading_.isCurrent(user)) {
        const std::optional<std::string_view> text = meminfoFile_.read(buffer_);
        meminfo_ = text ? parseMeminfo(*text) : std::nullopt;
    }
    return meminfo_;
}

const KernelStat& LinuxMachine::stat(User user) {
    if (!statReading_.isCurrent(user)) {
        const std::optional<std::string_view> text = statFile_.read(buffer_);
        stat_ = text ? parseKernelStat(*text) : KernelStat();
    }
    return stat_;
}

} // namespace korvel::platform
