#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"

namespace korvel::platform {

/// What compressed block devices hold, in bytes.
struct ZramUse {
    int devices = 0;
    std::uint64_t stored = 0; ///< before compression
    std::uint64_t memoryUsed = 0;
};

/// One device by its mm_stat: the first number and the third; later ones are passed over. nullopt
/// unless both are there.
std::optional<ZramUse> parseMmStat(std::string_view text);

/// Looks after all compressed block devices. Devices that come and go are noticed once a
/// minute, at one reading every five seconds.
class ZramReader {
  public:
    /// `root` ends in a slash.
    ZramReader(FileCalls& calls, const std::string& root);

    /// All of them together; a device that cannot be read adds nothing.
    ZramUse use();

    /// The devices that `use` found last: "zram0".
    std::vector<std::string> names() const;

  private:
    void findDevices();

    FileCalls& calls_;
    std::string path_;
    KeptDirectory directory_;
    std::map<std::string, KeptFile> devices_;
    std::string buffer_;
    EveryMinute findingDevices_;
};

} // namespace korvel::platform
