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

/// RssShmem of /proc/PID/status in bytes: the shared anonymous memory that it maps and that is in
/// memory, in whole, whoever else maps it. nullopt without one, as from kernels before 4.5.
std::optional<std::uint64_t> parseRssShmem(std::string_view text);

/// PPid of /proc/PID/status; 0 for who has no parent.
std::optional<std::int32_t> parseParent(std::string_view text);

/// Pss_Shmem of /proc/PID/smaps_rollup in bytes: as RssShmem, but of each page only its part, one
/// by the number of those who map it.
std::optional<std::uint64_t> parsePssShmem(std::string_view text);

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
