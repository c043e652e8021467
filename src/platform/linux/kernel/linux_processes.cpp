#include "platform/linux/kernel/linux_processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/process_name.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/kernel/root_folder.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

/// How many descriptors may be kept: the limit, less what the rest of the program may need.
std::size_t descriptorsToKeep() {
    constexpr rlim_t kReserve = 256;
    constexpr rlim_t kMost = 65536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= kReserve) {
        return 1;
    }
    return std::min(limit.rlim_cur - kReserve, kMost);
}

std::uint64_t bytesPerPage() {
    static const long size = ::sysconf(_SC_PAGESIZE);
    return static_cast<std::uint64_t>(size);
}

} // namespace

std::optional<Statm> parseStatm(std::string_view text) {
    std::optional<std::string_view> line = takeLine(text);
    if (!line) {
        return std::nullopt;
    }
    const auto size = wholeNumber<std::uint64_t>(takeWord(*line));
    const auto resident = wholeNumber<std::uint64_t>(takeWord(*line));
    const auto shared = wholeNumber<std::uint64_t>(takeWord(*line));
    if (!size || !resident || !shared) {
        return std::nullopt;
    }
    return Statm{*size, *resident, *shared};
}

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

LinuxProcesses::LinuxProcesses(const std::string& root, FileCalls& calls, std::size_t mostKept)
    : calls_(calls), directory_(calls, rootFolder(root) + "proc"),
      meminfo_(calls, rootFolder(root) + "proc/meminfo"),
      mostKept_(mostKept > 0 ? mostKept : descriptorsToKeep()) {}

std::vector<std::int32_t> LinuxProcesses::listAllPids() {
    const std::lock_guard lock(mutex_);
    std::vector<std::int32_t> pids;
    pids.reserve(processes_.size() + 32);
    const bool listed = directory_.list([&](std::string_view name) {
        if (name.front() >= '1' && name.front() <= '9') {
            if (const auto pid = wholeNumber<std::int32_t>(name)) {
                pids.push_back(*pid);
            }
        }
    });
    if (!listed) {
        return {};
    }
    if (!std::is_sorted(pids.begin(), pids.end())) { // a recorded tree
        std::sort(pids.begin(), pids.end());
    }

    const std::optional<std::string_view> text = meminfo_.read(buffer_);
    const std::optional<Meminfo> memory = text ? parseMeminfo(*text) : std::nullopt;
    const std::optional<SwapUsage> swap = memory ? swapUsage(*memory) : std::nullopt;
    swapInUse_ = swap && swap->xsu_used > 0;
    ++listings_;

    // Both are in order: one pass carries the known processes over and drops those that are gone.
    std::vector<Process> present(pids.size());
    auto known = processes_.begin();
    for (std::size_t i = 0; i < pids.size(); ++i) {
        for (; known != processes_.end() && known->pid < pids[i]; ++known) {
            forget(*known);
        }
        if (known != processes_.end() && known->pid == pids[i]) {
            present[i] = std::move(*known);
            ++known;
        } else {
            present[i].pid = pids[i];
        }
        if (!swapInUse_) {
            present[i].seen = Statm();
            if (present[i].status) {
                present[i].status.reset();
                --kept_;
            }
        }
    }
    for (; known != processes_.end(); ++known) {
        forget(*known);
    }
    processes_ = std::move(present);
    next_ = 0;
    return pids;
}

std::optional<std::uint64_t> LinuxProcesses::physFootprint(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    Process& process = find(pid);
    const auto text = read(process, &Process::statm, "statm");
    const std::optional<Statm> statm = text ? parseStatm(*text) : std::nullopt;
    if (!statm) {
        return std::nullopt;
    }
    const std::uint64_t anonymous = statm->anonymous() * bytesPerPage();
    return swapInUse_ ? anonymous + swappedOut(process, *statm) : anonymous;
}

std::uint64_t LinuxProcesses::swappedOut(Process& process, const Statm& statm) {
    constexpr std::uint32_t kLongest = 12; // listings; spread over them by the pid
    if (statm.size == 0) {
        return 0; // without an address space nothing can be swapped out
    }
    const bool due = (listings_ + static_cast<std::uint32_t>(process.pid)) % kLongest == 0;
    if (due || statm != process.seen) {
        const auto status = read(process, &Process::status, "status");
        const auto bytes = status ? parseVmSwap(*status) : std::nullopt;
        // Not to be kept when it could not be read: a real process's figures are never all 0.
        process.seen = bytes ? statm : Statm();
        process.swapped = bytes.value_or(0);
    }
    return process.swapped;
}

std::string LinuxProcesses::name(std::int32_t pid) {
    constexpr std::size_t kCutAt = 15; // bytes; longer names are cut by the kernel
    const std::lock_guard lock(mutex_);
    Process& process = find(pid);
    std::optional<std::string_view> comm = read(process, &Process::comm, "comm");
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
    if (process.shortName != *comm) {
        process.shortName = *comm;
        process.longName = lengthened(pid, process.shortName);
    }
    return process.longName;
}

void LinuxProcesses::terminate(std::int32_t pid) {
    // 0 and below would mean whole groups.
    if (pid > 0) {
        ::kill(pid, SIGTERM);
    }
}

std::int32_t LinuxProcesses::currentProcessIdentifier() {
    return ::getpid();
}

std::size_t LinuxProcesses::keptDescriptors() {
    const std::lock_guard lock(mutex_);
    return kept_;
}

LinuxProcesses::Process& LinuxProcesses::find(std::int32_t pid) {
    // Questions come in the order of the listing.
    if (next_ < processes_.size() && processes_[next_].pid == pid) {
        return processes_[next_++];
    }
    auto found = std::lower_bound(
        processes_.begin(), processes_.end(), pid,
        [](const Process& process, std::int32_t wanted) { return process.pid < wanted; });
    if (found == processes_.end() || found->pid != pid) {
        found = processes_.emplace(found);
        found->pid = pid;
    }
    next_ = static_cast<std::size_t>(found - processes_.begin()) + 1;
    return *found;
}

std::optional<std::string_view>
LinuxProcesses::read(Process& process, FileDescriptor Process::*file, const char* name) {
    if (process.*file) {
        if (const auto text = readSmall((process.*file).get())) {
            return text;
        }
        if (errno != ESRCH) {
            return std::nullopt;
        }
        // The process is gone; if its number was given to another, that one is a new file.
        forget(process);
    }
    FileDescriptor opened = open(process.pid, name);
    if (!opened) {
        return std::nullopt;
    }
    const auto text = readSmall(opened.get());
    if (text && kept_ < mostKept_) {
        process.*file = std::move(opened);
        ++kept_;
    }
    return text;
}

std::optional<std::string_view> LinuxProcesses::readSmall(int file) {
    // These files come whole in one piece, so there is no second call to find the end.
    constexpr std::size_t kLargest = 8192;
    if (buffer_.size() < kLargest) {
        buffer_.resize(kLargest);
    }
    ssize_t got = 0;
    do {
        got = calls_.readAt(file, buffer_.data(), buffer_.size(), 0);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        return std::nullopt;
    }
    return std::string_view(buffer_).substr(0, static_cast<std::size_t>(got));
}

FileDescriptor LinuxProcesses::open(std::int32_t pid, const char* name) {
    std::array<char, 32> path; // a pid has ten digits at most
    *fmt::format_to_n(path.data(), path.size() - 1, "{}/{}", pid, name).out = '\0';
    const int directory = directory_.descriptor();
    if (directory < 0) {
        return {};
    }
    FileDescriptor file(calls_.openAt(directory, path.data(), 0));
    if (!file && (errno == EMFILE || errno == ENFILE)) {
        shedDescriptors();
        file = FileDescriptor(calls_.openAt(directory, path.data(), 0));
    }
    return file;
}

void LinuxProcesses::forget(Process& process) {
    for (FileDescriptor* file : {&process.statm, &process.status, &process.comm}) {
        if (*file) {
            file->reset();
            --kept_;
        }
    }
    process.seen = Statm();
    process.shortName.clear();
    process.longName.clear();
}

void LinuxProcesses::shedDescriptors() {
    // Others in the program need some too: give a part back, and keep no more than the rest.
    constexpr std::size_t kShed = 64;
    const std::size_t goal = kept_ - std::min(kept_, kShed);
    for (auto process = processes_.rbegin(); process != processes_.rend() && kept_ > goal;
         ++process) {
        forget(*process);
    }
    mostKept_ = kept_;
}

std::string LinuxProcesses::lengthened(std::int32_t pid, std::string_view comm) {
    const FileDescriptor file = open(pid, "cmdline");
    const auto text = file ? readSmall(file.get()) : std::nullopt;
    return lengthenedName(comm, text.value_or(std::string_view()));
}

} // namespace korvel::platform
