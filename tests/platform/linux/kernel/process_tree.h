#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/kernel_trees.h"
#include "platform/linux/kernel/linux_processes.h"
#include "support/temp_tree.h"

namespace korvel::platform {

inline const std::uint64_t kPage = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));

/// A table of processes that a test writes.
class ProcessTree : public testing::Test {
  protected:
    void process(int pid, const std::string& comm, int anonymousPages, int swapKiB = 0) {
        const std::string path = "proc/" + std::to_string(pid) + "/";
        const std::string resident = std::to_string(anonymousPages + 10);
        tree_.write(path + "comm", comm + "\n");
        tree_.write(path + "statm", "90000 " + resident + " 10 0 0 0 0\n");
        tree_.write(path + "cmdline", "");
        tree_.write(path + "status",
                    "Name:\tx\nVmSwap:\t" + std::to_string(swapKiB) + " kB\nThreads:\t1\n");
    }

    /// `startTime` in clock ticks; the name in the file is an awkward one.
    void started(int pid, int startTime) {
        tree_.write("proc/" + std::to_string(pid) + "/stat",
                    std::to_string(pid) +
                        " (a) S 1\nb)) S 1 2 3 0 -1 4194560 8 0 0 0 9 9 0 0 20 0 1 0 " +
                        std::to_string(startTime) + " 1000 2000 18446744073709551615 1\n");
    }

    /// A process of which `fileKiB` and `sharedKiB` are resident besides its anonymous pages.
    void sharing(int pid, const std::string& comm, int anonymousPages, std::uint64_t fileKiB,
                 std::uint64_t sharedKiB, int parent = 1) {
        process(pid, comm, anonymousPages);
        const std::string path = "proc/" + std::to_string(pid) + "/";
        const std::uint64_t shared = (fileKiB + sharedKiB) * kKiB / kPage;
        tree_.write(path + "statm",
                    "9000000 " +
                        std::to_string(static_cast<std::uint64_t>(anonymousPages) + shared) + " " +
                        std::to_string(shared) + " 0 0 0 0\n");
        tree_.write(path + "status", "Name:\tx\nPPid:\t" + std::to_string(parent) + "\nRssFile:\t" +
                                         std::to_string(fileKiB) + " kB\nRssShmem:\t" +
                                         std::to_string(sharedKiB) + " kB\nVmSwap:\t0 kB\n");
    }

    /// What the owner of a process finds when its pages are walked.
    void proportional(int pid, std::uint64_t kiB) {
        tree_.write("proc/" + std::to_string(pid) + "/smaps_rollup",
                    "1000-2000 ---p 00000000 00:00 0 [rollup]\nRss: 9 kB\nPss_Shmem:    " +
                        std::to_string(kiB) + " kB\nShared_Clean: 0 kB\n");
    }

    /// The machine's shared memory; no swap.
    void shmem(std::uint64_t kiB) {
        tree_.write("proc/meminfo",
                    "MemTotal: 64000000 kB\nMemFree: 1 kB\nShmem: " + std::to_string(kiB) +
                        " kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
    }

    /// How often a file, as "5/status", was read so far.
    int timesRead(const std::string& path) const {
        const auto times = calls_.timesRead();
        const auto found = times.find(path);
        return found == times.end() ? 0 : found->second;
    }

    /// One walk over the table: the footprints, by pid.
    std::map<std::int32_t, std::uint64_t> footprints() {
        std::map<std::int32_t, std::uint64_t> found;
        for (const std::int32_t pid : processes_.listAllPids()) {
            found[pid] = processes_.physFootprint(pid).value_or(0);
        }
        return found;
    }

    void swap(int totalKiB, int freeKiB) {
        tree_.write("proc/meminfo",
                    "MemTotal: 1000 kB\nMemFree: 1 kB\nSwapTotal: " + std::to_string(totalKiB) +
                        " kB\nSwapFree: " + std::to_string(freeKiB) + " kB\n");
    }

    TempTree tree_;
    CountingCalls calls_;
    LinuxProcesses processes_{tree_.root(), calls_, 1000};
};

} // namespace korvel::platform
