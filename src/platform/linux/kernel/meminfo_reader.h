#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/thermal_reader.h"

namespace korvel::platform {

/// Reads /proc/meminfo. The machine and its processes both need it in a sample, so they may share
/// one of these: what the machine has read is handed on to the next listing of processes.
///
/// Callable from any thread.
class MeminfoReader {
  public:
    /// `root` is the folder that holds proc, with a slash at its end.
    MeminfoReader(FileCalls& calls, const std::string& root,
                  SteadyClock now = std::chrono::steady_clock::now);

    /// The figures of now; nullopt when they cannot be read.
    std::optional<Meminfo> read();

    /// What `read` found last, if that was within a second and is not handed on yet; otherwise the
    /// figures of now.
    std::optional<Meminfo> readOrHandOn();

  private:
    std::optional<Meminfo> readFile();

    const SteadyClock now_;
    std::mutex mutex_; ///< guards what follows
    KeptFile file_;
    std::string buffer_;
    std::optional<Meminfo> last_; ///< none once it is handed on
    std::chrono::steady_clock::time_point readAt_;
};

} // namespace korvel::platform
