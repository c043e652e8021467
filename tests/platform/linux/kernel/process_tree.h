#pragma once

#include <cstdint>
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
