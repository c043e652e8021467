#include "platform/linux/kernel/volume_statistics.h"

#include <algorithm>
#include <cstdint>

namespace korvel::platform {

std::optional<VolumeStatistics> volumeStatistics(const struct statvfs& volume) {
    // The counts are in fragments; f_bsize is only the size that is good for reading. A file system
    // in a program may leave either out.
    const std::uint64_t size = volume.f_frsize != 0 ? volume.f_frsize : volume.f_bsize;
    const bool isImage = (volume.f_flag & ST_RDONLY) != 0 && volume.f_bfree == 0;
    const bool isEmpty = volume.f_bavail == 0 && volume.f_bfree >= volume.f_blocks;
    if (size == 0 || volume.f_blocks == 0 || isEmpty || isImage) {
        return std::nullopt;
    }
    VolumeStatistics statistics;
    statistics.f_bsize = size;
    statistics.f_blocks = volume.f_blocks;
    statistics.f_bfree = std::min<std::uint64_t>(volume.f_bfree, volume.f_blocks);
    // More than there are: a count below zero, since users have filled what is kept for the system.
    statistics.f_bavail = volume.f_bavail <= volume.f_blocks ? volume.f_bavail : 0;
    return statistics;
}

} // namespace korvel::platform
