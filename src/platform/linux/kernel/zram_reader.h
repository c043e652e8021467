#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"

namespace korvel::platform {

/// The bytes of memory that a compressed block device occupies: the third number of its mm_stat.
/// Numbers after it are passed over.
std::optional<std::uint64_t> parseMmStat(std::string_view text);

/// The memory that all compressed block devices occupy. Devices that come and go are noticed once a
/// minute, at one reading every five seconds.
class ZramReader {
  public:
    /// `root` ends in a slash.
    ZramReader(FileCalls& calls, const std::string& root);

    /// Bytes; a device that cannot be read adds nothing.
    std::uint64_t memoryUsed();

  private:
    void findDevices();

    FileCalls& calls_;
    std::string path_;
    KeptDirectory directory_;
    std::map<std::string, KeptFile> devices_;
    std::string buffer_;
    int readingsToSkip_ = 0;
};

} // namespace korvel::platform
