#pragma once

#include <optional>

#include <sys/statvfs.h>

#include "platform/machine.h"

namespace korvel::platform {

/// The record of a mounted file system; nullopt for one that tells nothing about room: without
/// blocks or their size; with all blocks free and none available (an overlay of a container may say
/// so), its share in use being 0 of 0; and an image that can only be read and is full by its nature
/// (squashfs, ISO 9660). A volume that was made read-only keeps its free blocks and its record.
std::optional<VolumeStatistics> volumeStatistics(const struct statvfs& volume);

} // namespace korvel::platform
