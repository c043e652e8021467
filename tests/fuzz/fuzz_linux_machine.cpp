#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>

#include "core/metrics.h"
#include "fuzz/fuzz.h"
#include "platform/linux/kernel/file_calls.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/simulated/agents.h"
#include "platform/simulated/clock.h"

namespace {

using namespace korvel::platform;

/// The files of /proc and /sys that the input has, in folders that are there without any content.
/// The input is parts with a form feed between them: on the first line the path of a file below the
/// root, behind it what the file holds. Of parts for one path the first is there at the first
/// reading, the next one from the next reading on. A file that holds no more than an exclamation
/// mark is there and cannot be read.
class Tree final : public FileCalls {
  public:
    explicit Tree(std::string_view input) {
        while (!input.empty()) {
            const std::size_t end = std::min(input.find('\f'), input.size());
            const std::string_view part = input.substr(0, end);
            const std::size_t line = std::min(part.find('\n'), part.size());
            files_[std::string(part.substr(0, line))].push_back(
                part.substr(std::min(line + 1, part.size())));
            input.remove_prefix(std::min(end + 1, input.size()));
        }
    }

    void setReading(std::size_t reading) { reading_ = reading; }

    int openAt(int directory, const char* path, int flags) override {
        const auto folder = folders_.find(directory);
        const std::string below = folder == folders_.end() ? "" : folder->second + "/";
        const std::string whole = below + path;
        constexpr std::string_view kRoot = KORVEL_FUZZ_MACHINE "/";
        if (!whole.starts_with(kRoot)) {
            errno = ENOENT; // the machine that this runs on
            return -1;
        }
        if ((flags & O_DIRECTORY) != 0) {
            const int opened = FileCalls::openAt(AT_FDCWD, whole.c_str(), flags);
            folders_[opened] = whole;
            opened_.erase(opened);
            return opened;
        }
        const auto file = files_.find(whole.substr(kRoot.size()));
        if (file == files_.end()) {
            errno = ENOENT;
            return -1;
        }
        const int opened = FileCalls::openAt(AT_FDCWD, "/dev/null", flags);
        opened_[opened] = &file->second;
        folders_.erase(opened); // the number may have been a folder's
        return opened;
    }

    ssize_t readAt(int file, char* buffer, std::size_t size, off_t offset) override {
        const auto& parts = *opened_.at(file);
        const std::string_view text = parts[std::min(reading_, parts.size() - 1)];
        if (text == "!") {
            errno = ENODEV;
            return -1;
        }
        const auto from = std::min(static_cast<std::size_t>(offset), text.size());
        const std::size_t count = std::min(size, text.size() - from);
        std::memcpy(buffer, text.data() + from, count);
        return static_cast<ssize_t>(count);
    }

  private:
    using Parts = std::vector<std::string_view>;

    std::map<std::string, Parts, std::less<>> files_;
    std::map<int, const Parts*> opened_;
    std::map<int, std::string> folders_;
    std::size_t reading_ = 0;
};

void requireReading(MachineReading& reading) {
    require(reading.processorCount().value_or(1) >= 1, "a machine has a processor");
    const int thermal = reading.thermalState();
    require(thermal >= 0 && thermal <= 3, "one of the thermal states");
    const auto level = reading.memoryPressureLevel();
    require(!level || *level == 1 || *level == 2 || *level == 4, "one of the levels");
    if (const auto swap = reading.swapUsage()) {
        require(swap->xsu_used == swap->xsu_total - swap->xsu_avail &&
                    swap->xsu_avail <= swap->xsu_total,
                "used and available swap are all of it");
    }
    if (const auto loads = reading.loadAverages()) {
        require(std::all_of(loads->begin(), loads->end(),
                            [](double load) { return std::isfinite(load) && load >= 0; }),
                "a load of 0 or more");
    }
    require(reading.physicalMemory().value_or(1) > 0, "there is memory");
    require(reading.bootTime() == reading.bootTime(), "a reading tells the same twice");
}

void requireSound(const korvel::Snapshot& s) {
    require(s.score >= 0 && s.score <= 100, "a score");
    require(s.cpuPct >= 0 && s.cpuPct <= 100 && s.memPct >= 0 && s.memPct <= 100, "shares");
    for (const double figure : {s.memUsedGB, s.memTotalGB, s.compressedGB, s.memAvailableGB,
                                s.swapUsedGB, s.swapTotalGB, s.swapPct, s.load1}) {
        require(std::isfinite(figure) && figure >= 0, "figures of 0 or more");
    }
    for (const korvel::ProcInfo& process : s.topProcs) {
        require(process.id >= 1 && !process.name.empty() && process.gb > 0.05, "a process");
    }
    for (const korvel::ScoreFactor& factor : s.factors) {
        require(factor.health >= 0 && factor.health <= 100, "points of a factor");
    }
}

void requireProcesses(LinuxProcesses& processes, Tree& tree) {
    LinuxSwappedMemory memory(KORVEL_FUZZ_MACHINE, tree);
    const std::vector<std::int32_t> pids = processes.listAllPids();
    require(std::is_sorted(pids.begin(), pids.end()) && (pids.empty() || pids.front() > 0),
            "processes in their order");
    for (const std::int32_t pid : pids) {
        const auto swapped = memory.swappedOut(pid).value_or(0);
        require(swapped >= 0 && std::fmod(swapped, 1024) == 0, "whole kibibytes");
    }
}

} // namespace

// Whatever the files of a machine hold, two readings of it are figures that can be, and none that
// only grows falls between them.
void fuzz(std::string_view bytes) {
    Tree tree(bytes);
    std::chrono::steady_clock::time_point now;
    LinuxMachine machine(KORVEL_FUZZ_MACHINE, KORVEL_FUZZ_MACHINE, tree, [&] { return now; });
    LinuxProcesses processes(KORVEL_FUZZ_MACHINE, tree, 64);
    SimulatedAgents agents;
    SimulatedClock clock;
    korvel::Metrics metrics(machine, processes, agents, clock);
    std::optional<CpuTicks> ticks;
    std::uint64_t swapouts = 0;
    for (std::size_t i = 0; i < 2; ++i) {
        tree.setReading(i);
        const auto reading = machine.read();
        requireReading(*reading);
        if (const auto after = reading->cpuTicks()) {
            require(!ticks || (after->user >= ticks->user && after->system >= ticks->system &&
                               after->idle >= ticks->idle && after->nice >= ticks->nice),
                    "no counter falls");
            ticks = after;
        }
        if (const auto pages = reading->vmStatistics()) {
            require(pages->swapouts >= swapouts, "pages that were swapped out stay so");
            swapouts = pages->swapouts;
        }
        requireProcesses(processes, tree);
        requireSound(metrics.snapshot());
        now += std::chrono::seconds(60);
    }
}
