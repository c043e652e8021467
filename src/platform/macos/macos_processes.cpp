#include "platform/macos/macos_processes.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <limits>

#include <libproc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace korvel::platform {

static_assert(sizeof(rusage_info_v2) == 160);
static_assert(offsetof(rusage_info_v2, ri_phys_footprint) == 72);
static_assert(offsetof(rusage_info_v2, ri_proc_start_abstime) == 80);

namespace {

std::optional<rusage_info_v2> resourceUsage(std::int32_t pid) {
    rusage_info_v2 usage{};
    // The parameter is declared as a pointer to a pointer; what is taken is the record's address.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    if (::proc_pid_rusage(pid, RUSAGE_INFO_V2, reinterpret_cast<rusage_info_t*>(&usage)) != 0) {
        return std::nullopt;
    }
    return usage;
}

std::optional<std::uint64_t> startTimeNow(std::int32_t pid) {
    const std::optional<rusage_info_v2> usage = resourceUsage(pid);
    return usage ? std::optional<std::uint64_t>(usage->ri_proc_start_abstime) : std::nullopt;
}

} // namespace

std::vector<std::int32_t> MacosProcesses::listAllPids() {
    {
        const std::lock_guard lock(mutex_);
        startTimes_.clear();
    }
    // For processes that start between the two calls.
    constexpr int kExtraRoom = 32;
    constexpr int kPidSize = sizeof(std::int32_t);
    constexpr int kMost = std::numeric_limits<int>::max() / kPidSize - kExtraRoom;
    const int running = ::proc_listallpids(nullptr, 0);
    if (running < 1 || running > kMost) {
        return {};
    }
    const int room = running + kExtraRoom;
    std::vector<std::int32_t> pids(static_cast<std::size_t>(room));
    const int listed = ::proc_listallpids(pids.data(), room * kPidSize);
    if (listed < 1) {
        return {};
    }
    pids.resize(static_cast<std::size_t>(std::min(listed, room)));
    return pids;
}

std::optional<std::uint64_t> MacosProcesses::physFootprint(std::int32_t pid) {
    const std::optional<rusage_info_v2> usage = resourceUsage(pid);
    if (!usage) {
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    startTimes_[pid] = usage->ri_proc_start_abstime;
    return usage->ri_phys_footprint;
}

std::string MacosProcesses::name(std::int32_t pid) {
    std::array<char, 256> buffer{};
    ::proc_name(pid, buffer.data(), buffer.size());
    return {buffer.data(), ::strnlen(buffer.data(), buffer.size() - 1)};
}

std::optional<std::uint64_t> MacosProcesses::startTime(std::int32_t pid) {
    {
        const std::lock_guard lock(mutex_);
        if (const auto kept = startTimes_.find(pid); kept != startTimes_.end()) {
            return kept->second;
        }
    }
    return startTimeNow(pid);
}

void MacosProcesses::terminate(std::int32_t pid) {
    // 0 and below would mean whole groups.
    if (pid > 0) {
        ::kill(pid, SIGTERM);
    }
}

void MacosProcesses::terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) {
    if (startTime && startTimeNow(pid) == startTime) {
        terminate(pid);
    }
}

std::int32_t MacosProcesses::currentProcessIdentifier() {
    return ::getpid();
}

} // namespace korvel::platform
