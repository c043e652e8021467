#include "platform/linux/kernel/process_table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <fmt/format.h>
#include <sys/resource.h>

#include "base/whole_number.h"
#include "platform/linux/kernel/root_folder.h"

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

} // namespace

ProcessTable::ProcessTable(const std::string& root, FileCalls& calls, std::size_t mostKept)
    : calls_(calls), directory_(calls, rootFolder(root) + "proc"),
      mostKept_(mostKept > 0 ? mostKept : descriptorsToKeep()) {}

std::vector<std::int32_t> ProcessTable::list() {
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

    dropAllBut(pids);
    addMissing(pids);
    next_ = 0;
    return pids;
}

void ProcessTable::dropAllBut(const std::vector<std::int32_t>& pids) {
    // Both are in order. What stays is not moved unless one before it has gone.
    auto pid = pids.begin();
    auto end = processes_.begin();
    for (KeptProcess& process : processes_) {
        while (pid != pids.end() && *pid < process.pid) {
            ++pid;
        }
        if (pid == pids.end() || *pid != process.pid) {
            forget(process);
            continue;
        }
        if (&*end != &process) {
            *end = std::move(process);
        }
        ++end;
    }
    processes_.erase(end, processes_.end());
}

void ProcessTable::addMissing(const std::vector<std::int32_t>& pids) {
    const std::size_t known = processes_.size();
    std::size_t next = 0; // of those that are known
    for (const std::int32_t pid : pids) {
        if (next < known && processes_[next].pid == pid) {
            ++next;
        } else {
            processes_.emplace_back().pid = pid;
        }
    }
    const auto byPid = [](const KeptProcess& a, const KeptProcess& b) { return a.pid < b.pid; };
    // New ones have the highest numbers, until the numbers begin again.
    if (!std::is_sorted(processes_.begin(), processes_.end(), byPid)) {
        std::sort(processes_.begin(), processes_.end(), byPid);
    }
}

KeptProcess& ProcessTable::find(std::int32_t pid) {
    // Questions come in the order of the listing.
    if (next_ < processes_.size() && processes_[next_].pid == pid) {
        return processes_[next_++];
    }
    auto found = std::lower_bound(
        processes_.begin(), processes_.end(), pid,
        [](const KeptProcess& process, std::int32_t wanted) { return process.pid < wanted; });
    if (found == processes_.end() || found->pid != pid) {
        found = processes_.emplace(found);
        found->pid = pid;
    }
    next_ = static_cast<std::size_t>(found - processes_.begin()) + 1;
    return *found;
}

std::optional<std::string_view>
ProcessTable::read(KeptProcess& process, FileDescriptor KeptProcess::*file, const char* name) {
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

std::optional<std::string_view> ProcessTable::readOnce(std::int32_t pid, const char* name) {
    const FileDescriptor file = open(pid, name);
    return file ? readSmall(file.get()) : std::nullopt;
}

void ProcessTable::close(FileDescriptor& file) {
    if (file) {
        file.reset();
        --kept_;
    }
}

std::optional<std::string_view> ProcessTable::readSmall(int file) {
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

FileDescriptor ProcessTable::open(std::int32_t pid, const char* name) {
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

void ProcessTable::forget(KeptProcess& process) {
    for (FileDescriptor* file : {&process.statm, &process.status, &process.comm}) {
        close(*file);
    }
    process.facts = ProcessFacts();
}

void ProcessTable::shedDescriptors() {
    // Others in the program need some too: give a part back, and keep no more than the rest.
    constexpr std::size_t kShed = 64;
    const std::size_t goal = kept_ - std::min(kept_, kShed);
    for (auto process = processes_.rbegin(); process != processes_.rend() && kept_ > goal;
         ++process) {
        forget(*process);
    }
    mostKept_ = kept_;
}

} // namespace korvel::platform
