#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/kernel/file_calls.h"
#include "platform/swapped_memory.h"

namespace korvel::platform {

/// VmSwap of /proc/PID/status in bytes. nullopt without one: kernel threads and zombies have none.
std::optional<std::uint64_t> parseVmSwap(std::string_view text);

/// How much of a process is swapped out, by its status file.
class LinuxSwappedMemory final : public SwappedMemory {
  public:
    /// `root` is the folder that holds proc.
    explicit LinuxSwappedMemory(const std::string& root = "/",
                                FileCalls& calls = FileCalls::system());

    std::optional<double> swappedOut(std::int32_t pid) override;

  private:
    FileCalls& calls_;
    std::string path_;
};

} // namespace korvel::platform
