#include "platform/linux/kernel/volume_statistics.h"

namespace korvel::platform {

std::optional<VolumeStatistics> volumeStatistics(const struct statvfs& volume) {
    if (volume.f_blocks == 0 || (volume.f_bavail == 0 && volume.f_bfree >= volume.f_blocks)) {
        return std::nullopt;
    }
    VolumeStatistics statistics;
    // The counts are in fragments; f_bsize is only the size that is good for reading.
    statistics.f_bsize = volume.f_frsize;
    statistics.f_blocks = volume.f_blocks;
    statistics.f_bfree = volume.f_bfree;
    statistics.f_bavail = volume.f_bavail;
    return statistics;
}

} // namespace korvel::platform
