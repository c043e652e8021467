#include "platform/linux/kernel/linux_processes.h"

#include <csignal>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/process_name.h"
#include "platform/linux/kernel/process_signal.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/kernel/root_folder.h"

namespace korvel::platform {

namespace {

std::uint64_t bytesPerPage() {
    static const long size = ::sysconf(_SC_PAGESIZE);
    return static_cast<std::uint64_t>(size);
}

} // namespace

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

LinuxProcesses::LinuxProcesses(const std::string& root, FileCalls& calls, std::size_t mostKept)
    : table_(root, calls, mostKept), meminfo_(calls, rootFolder(root) + "proc/meminfo") {}

std::vector<std::int32_t> LinuxProcesses::listAllPids() {
    const std::lock_guard lock(mutex_);
    std::vector<std::int32_t> pids = table_.list();
    if (pids.empty()) {
        return pids;
    }
    const std::optional<std::string_view> text = meminfo_.read(buffer_);
    const std::optional<Meminfo> memory = text ? parseMeminfo(*text) : std::nullopt;
    const std::optional<SwapUsage> swap = memory ? swapUsage(*memory) : std::nullopt;
    swapInUse_ = swap && swap->xsu_used > 0;
    ++listings_;
    return pids;
}

std::optional<std::uint64_t> LinuxProcesses::physFootprint(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    const auto text = table_.read(process, &KeptProcess::statm, "statm");
    const std::optional<Statm> statm = text ? parseStatm(*text) : std::nullopt;
    if (!statm) {
        return std::nullopt;
    }
    return statm->anonymous() * bytesPerPage() + swappedOut(process, *statm);
}

std::uint64_t LinuxProcesses::swappedOut(KeptProcess& process, const Statm& statm) {
    constexpr std::uint32_t kLongest = 12; // listings; spread over them by the pid
    ProcessFacts& facts = process.facts;
    if (!swapInUse_) {
        table_.close(process.status);
        facts.seen = Statm();
        return 0;
    }
    if (statm.size == 0) {
        return 0; // without an address space nothing can be swapped out
    }
    const bool due = (listings_ + static_cast<std::uint32_t>(process.pid)) % kLongest == 0;
    if (due || statm != facts.seen) {
        const auto status = table_.read(process, &KeptProcess::status, "status");
        const auto bytes = status ? parseVmSwap(*status) : std::nullopt;
        // Not to be kept when it could not be read: a real process's figures are never all 0.
        facts.seen = bytes ? statm : Statm();
        facts.swapped = bytes.value_or(0);
    }
    return facts.swapped;
}

std::string LinuxProcesses::name(std::int32_t pid) {
    constexpr std::size_t kCutAt = 15; // bytes; longer names are cut by the kernel
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    std::optional<std::string_view> comm = table_.read(process, &KeptProcess::comm, "comm");
    if (!comm) {
        return {};
    }
    if (!comm->empty() && comm->back() == '\n') {
        comm->remove_suffix(1); // the one that ends the file; others belong to the name
    }
    if (comm->size() < kCutAt) {
        return std::string(*comm);
    }
    // The command line is asked for only when the name has changed: to read it the kernel has to
    // wait for the process's own memory.
    ProcessFacts& facts = process.facts;
    if (facts.shortName != *comm) {
        facts.shortName = *comm;
        const auto commandLine = table_.readOnce(pid, "cmdline");
        facts.longName = lengthenedName(facts.shortName, commandLine.value_or(std::string_view()));
    }
    return facts.longName;
}

std::optional<std::uint64_t> LinuxProcesses::startTime(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    std::optional<std::uint64_t>& known = process.facts.startTime;
    if (!known) {
        if (!process.statm) {
            table_.read(process, &KeptProcess::statm, "statm");
        }
        known = startTimeNow(pid);
        // It may be that of a successor. Then what is kept of the process fails and is forgotten.
        table_.read(process, &KeptProcess::statm, "statm");
    }
    // Without a kept file nothing would tell that the process has gone.
    return process.statm ? known : std::exchange(known, std::nullopt);
}

std::optional<std::uint64_t> LinuxProcesses::startTimeNow(std::int32_t pid) {
    const auto text = table_.readOnce(pid, "stat");
    return text ? parseStartTime(*text) : std::nullopt;
}

void LinuxProcesses::terminate(std::int32_t pid) {
    // 0 and below would mean whole groups.
    if (pid > 0) {
        ::kill(pid, SIGTERM);
    }
}

void LinuxProcesses::terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) {
    if (startTime) {
        terminateIf(pid, [&] {
            const std::lock_guard lock(mutex_);
            return startTimeNow(pid) == startTime;
        });
    }
}

std::int32_t LinuxProcesses::currentProcessIdentifier() {
    return ::getpid();
}

std::size_t LinuxProcesses::keptDescriptors() {
    const std::lock_guard lock(mutex_);
    return table_.keptDescriptors();
}

} // namespace korvel::platform
