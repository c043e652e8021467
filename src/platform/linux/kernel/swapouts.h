#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/zram_reader.h"

namespace korvel::platform {

/// What /proc/swaps says of where pages go.
struct SwapAreas {
    std::vector<std::string> zrams; ///< names of the compressed memory devices: "zram0"
    bool others = false;            ///< there is a partition or a file that is none of these
    std::uint64_t zramFree = 0;     ///< bytes; a device whose sizes cannot be read adds nothing
};

/// nullopt for what is not the kernel's list: no heading, or a line of another kind, such as the
/// "virtual" one that a container is shown.
std::optional<SwapAreas> parseSwapAreas(std::string_view text);

/// Bytes written to a block device: the seventh number of its stat, which counts 512 bytes,
/// whatever the device's own sectors are.
std::optional<std::uint64_t> parseBytesWritten(std::string_view text);

/// Bytes that a compressed memory device has written to the disk behind it: the third number of its
/// bd_stat, which counts 4 KiB, whatever the size of a page is.
std::optional<std::uint64_t> parseBackingBytes(std::string_view text);

/// Counts what is paged out to a disk.
///
/// pswpout of /proc/vmstat counts all pages that are written to a swap area. That leaves out what
/// zswap takes in, but not what goes to zram, which is memory as well. So what those zram devices
/// have written that are swap areas is taken off, and what they wrote to a disk behind them is
/// added. Neither /proc/swaps nor a device is looked at while pswpout stands still.
///
/// An interval in which something cannot be told (a device came, or a counter stepped back) counts
/// nothing.
class SwapoutCounter {
  public:
    /// The reference machine's page. A rate in these is the same number of bytes on every machine.
    static constexpr std::uint64_t kPage = 16384;

    /// `root` ends in a slash. `zrams`, which must live longer, is asked where /proc/swaps does not
    /// tell: then each device counts as a swap area.
    SwapoutCounter(FileCalls& calls, const std::string& root, const ZramReader& zrams);

    /// Pages of `kPage` bytes since boot, never fewer than before; what was written before the
    /// first call counts by the devices of that moment. `pswpout` is in pages of `pageSize` bytes;
    /// where it is not known the last count stands.
    std::uint64_t count(std::optional<std::uint64_t> pswpout, std::uint64_t pageSize);

  private:
    struct Zram {
        KeptFile stat;
        KeptFile backingStat;
        std::optional<std::uint64_t> written; ///< bytes, when last looked at
        std::optional<std::uint64_t> backing; ///< bytes, when last looked at
    };

    /// Bytes since the look before.
    struct Written {
        bool toOthers = false; ///< there is an area that is not zram
        std::optional<std::uint64_t> toZram = 0;
        std::uint64_t behindZram = 0;
    };

    Written look();
    Zram& zramOf(const std::string& name);

    FileCalls& calls_;
    const std::string path_;
    const ZramReader& allZrams_;
    KeptFile swapsFile_;
    std::map<std::string, Zram> zrams_;
    std::string buffer_;

    bool countsFromBoot_ = true;               ///< there was no look yet
    bool lookedJustNow_ = true;                ///< at the call before
    std::optional<std::uint64_t> pswpout_ = 0; ///< when last looked
    std::uint64_t ahead_ = 0; ///< bytes that zram has written and pswpout did not hold yet
    std::uint64_t bytes_ = 0;
};

} // namespace korvel::platform
