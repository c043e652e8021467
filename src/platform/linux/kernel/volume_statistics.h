#pragma once

#include <optional>

#include <sys/statvfs.h>

#include "platform/machine.h"

namespace korvel::platform {

/// The record of a mounted file system; nullopt for one without blocks, and for one whose blocks
/// are all free with none of them available (an overlay of a container may say so): such a one
/// tells nothing about room, and its share in use would be 0 of 0.
std::optional<VolumeStatistics> volumeStatistics(const struct statvfs& volume);

} // namespace korvel::platform
