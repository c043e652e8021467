#include "platform/macos/macos_machine.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <mach/mach.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/sysctl.h>
#include <sys/time.h>

namespace korvel::platform {

namespace {

// The record grows with the system: 38 words up to macOS 15, 62 after it. The kernel fills what
// there is room for and says how much that was; all that is read here lies in the first 38 words.
constexpr mach_msg_type_number_t kRoomForVmWords = 62;
constexpr mach_msg_type_number_t kLeastVmWords = 38;
using VmWords = std::array<integer_t, kRoomForVmWords>;

static_assert(sizeof(VmWords) == 248);
static_assert(sizeof(vm_statistics64) >= kLeastVmWords * sizeof(integer_t));
static_assert(sizeof(vm_statistics64) <= sizeof(VmWords));
static_assert(offsetof(vm_statistics64, free_count) == 0);
static_assert(offsetof(vm_statistics64, active_count) == 4);
static_assert(offsetof(vm_statistics64, inactive_count) == 8);
static_assert(offsetof(vm_statistics64, wire_count) == 12);
static_assert(offsetof(vm_statistics64, purgeable_count) == 88);
static_assert(offsetof(vm_statistics64, speculative_count) == 92);
static_assert(offsetof(vm_statistics64, swapouts) == 120);
static_assert(offsetof(vm_statistics64, compressor_page_count) == 128);

static_assert(sizeof(host_cpu_load_info) == 16 && HOST_CPU_LOAD_INFO_COUNT == 4);
static_assert(CPU_STATE_USER == 0 && CPU_STATE_SYSTEM == 1 && CPU_STATE_IDLE == 2 &&
              CPU_STATE_NICE == 3);

static_assert(sizeof(xsw_usage) == 32);
static_assert(offsetof(xsw_usage, xsu_total) == 0);
static_assert(offsetof(xsw_usage, xsu_avail) == 8);
static_assert(offsetof(xsw_usage, xsu_used) == 16);

static_assert(sizeof(timeval) == 16 && offsetof(timeval, tv_sec) == 0);

static_assert(sizeof(struct statfs) == 2168);
static_assert(offsetof(struct statfs, f_bsize) == 0);
static_assert(offsetof(struct statfs, f_blocks) == 8);
static_assert(offsetof(struct statfs, f_bfree) == 16);
static_assert(offsetof(struct statfs, f_bavail) == 24);

/// A send right to the host's port. Each call of mach_host_self() gives another one, which is held
/// until it is given back.
class HostPort {
  public:
    HostPort() : port_(::mach_host_self()) {}
    HostPort(const HostPort&) = delete;
    HostPort& operator=(const HostPort&) = delete;
    ~HostPort() { ::mach_port_deallocate(mach_task_self(), port_); }

    host_t get() const { return port_; }

  private:
    host_t port_;
};

/// nullopt: the call failed, or gave what is not a `Value`.
template <typename Value>
std::optional<Value> systemValue(const char* name) {
    Value value{};
    std::size_t size = sizeof(value);
    if (::sysctlbyname(name, &value, &size, nullptr, 0) != 0 || size != sizeof(value)) {
        return std::nullopt;
    }
    return value;
}

template <typename Value>
std::optional<Value> systemValue(int family, int member) {
    std::array<int, 2> name{family, member};
    Value value{};
    std::size_t size = sizeof(value);
    if (::sysctl(name.data(), name.size(), &value, &size, nullptr, 0) != 0 ||
        size != sizeof(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace

CpuTickRecord::Sums WrappingTicks::advance(const Counters& counters) {
    constexpr std::uint32_t kHalfRound = std::uint32_t{1} << 31;
    CpuTickRecord::Sums added{};
    for (std::size_t i = 0; i < counters.size(); ++i) {
        const std::uint32_t forward = counters[i] - highest_[i];
        if (!started_ || forward < kHalfRound) {
            added[i] = started_ ? forward : 0;
            highest_[i] = counters[i];
        }
    }
    started_ = true;
    return added;
}

class MacosMachine::Reading final : public MachineReading {
  public:
    explicit Reading(MacosMachine& machine) : machine_(machine) {}

    std::optional<std::uint64_t> physicalMemory() override {
        return systemValue<std::uint64_t>(CTL_HW, HW_MEMSIZE);
    }

    std::optional<int> processorCount() override {
        const auto count = systemValue<int>(CTL_HW, HW_NCPU);
        return count && *count > 0 ? count : std::nullopt;
    }

    int thermalState() override { return machine_.thermalState_(); }

    std::uint64_t pageSize() override { return vm_kernel_page_size; }

    std::optional<VmStatistics> vmStatistics() override {
        VmWords words{};
        mach_msg_type_number_t count = kRoomForVmWords;
        const HostPort host;
        if (::host_statistics64(host.get(), HOST_VM_INFO64, words.data(), &count) != KERN_SUCCESS ||
            count < kLeastVmWords) {
            return std::nullopt;
        }
        vm_statistics64 kernel{};
        std::memcpy(&kernel, words.data(), sizeof(kernel));
        VmStatistics statistics;
        statistics.free_count = kernel.free_count;
        statistics.active_count = kernel.active_count;
        statistics.inactive_count = kernel.inactive_count;
        statistics.wire_count = kernel.wire_count;
        statistics.speculative_count = kernel.speculative_count;
        statistics.purgeable_count = kernel.purgeable_count;
        statistics.compressor_page_count = kernel.compressor_page_count;
        statistics.swapouts = kernel.swapouts;
        return statistics;
    }

    std::optional<CpuTicks> cpuTicks() override {
        const std::lock_guard lock(machine_.mutex_); // what is read first is counted first
        std::array<integer_t, HOST_CPU_LOAD_INFO_COUNT> words{};
        mach_msg_type_number_t count = HOST_CPU_LOAD_INFO_COUNT;
        const HostPort host;
        if (::host_statistics(host.get(), HOST_CPU_LOAD_INFO, words.data(), &count) !=
                KERN_SUCCESS ||
            count < HOST_CPU_LOAD_INFO_COUNT) {
            return std::nullopt;
        }
        host_cpu_load_info kernel{};
        std::memcpy(&kernel, words.data(), sizeof(kernel));
        const CpuTickRecord::Sums added = machine_.kernelTicks_.advance(
            {kernel.cpu_ticks[CPU_STATE_USER], kernel.cpu_ticks[CPU_STATE_SYSTEM],
             kernel.cpu_ticks[CPU_STATE_IDLE], kernel.cpu_ticks[CPU_STATE_NICE]});
        return machine_.ticks_.add(added, static_cast<std::uint64_t>(processorCount().value_or(1)));
    }

    std::optional<std::int32_t> memoryPressureLevel() override {
        return systemValue<std::int32_t>("kern.memorystatus_vm_pressure_level");
    }

    std::optional<SwapUsage> swapUsage() override {
        const auto kernel = systemValue<xsw_usage>("vm.swapusage");
        if (!kernel) {
            return std::nullopt;
        }
        SwapUsage usage;
        usage.xsu_total = kernel->xsu_total;
        usage.xsu_avail = kernel->xsu_avail;
        usage.xsu_used = kernel->xsu_used;
        return usage;
    }

    std::optional<VolumeStatistics> dataVolume() override {
        struct statfs volume {};
        if (::statfs("/System/Volumes/Data", &volume) != 0) {
            return std::nullopt;
        }
        VolumeStatistics statistics;
        statistics.f_bsize = volume.f_bsize;
        statistics.f_blocks = volume.f_blocks;
        statistics.f_bfree = volume.f_bfree;
        statistics.f_bavail = volume.f_bavail;
        return statistics;
    }

    std::optional<std::array<double, 3>> loadAverages() override {
        std::array<double, 3> averages{};
        const int given = ::getloadavg(averages.data(), static_cast<int>(averages.size()));
        return given > 0 ? std::optional(averages) : std::nullopt;
    }

    std::optional<std::int64_t> bootTime() override {
        const auto boot = systemValue<timeval>(CTL_KERN, KERN_BOOTTIME);
        return boot ? std::optional<std::int64_t>(boot->tv_sec) : std::nullopt;
    }

  private:
    MacosMachine& machine_;
};

MacosMachine::MacosMachine(std::function<int()> thermalState)
    : thermalState_(std::move(thermalState)) {}

std::unique_ptr<MachineReading> MacosMachine::read() {
    return std::make_unique<Reading>(*this);
}

} // namespace korvel::platform
