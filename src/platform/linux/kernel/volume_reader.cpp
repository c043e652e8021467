#include "platform/linux/kernel/volume_reader.h"

#include <chrono>
#include <utility>

#include <fcntl.h>
#include <poll.h>

#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/volume_statistics.h"

namespace korvel::platform {

namespace {

/// A server in the same building answers within a few milliseconds; a pause of the popover that is
/// longer than this would be seen.
constexpr std::chrono::milliseconds kPatience(50);

} // namespace

VolumeReader::VolumeReader(std::string path, std::string mountinfo, AskVolume ask, FileCalls& calls)
    : path_(std::move(path)), calls_(calls), mountinfo_(std::move(mountinfo)), ask_(std::move(ask)),
      remote_(path_, ask_, kPatience) {}

std::optional<VolumeStatistics> VolumeReader::read() {
    if (!answersAlone()) {
        return remote_.read();
    }
    const std::optional<struct statvfs> volume = ask_(path_);
    return volume ? volumeStatistics(*volume) : std::nullopt;
}

std::optional<struct statvfs> VolumeReader::askSystem(const std::string& path) {
    struct statvfs volume {};
    return ::statvfs(path.c_str(), &volume) == 0 ? std::optional(volume) : std::nullopt;
}

bool VolumeReader::answersAlone() {
    const std::lock_guard lock(mutex_);
    if (mountsChanged()) {
        findMount();
    }
    // Where no list tells of the root, nothing is known of a server either.
    return !mount_ || mount_->answersAlone;
}

bool VolumeReader::mountsChanged() {
    if (mounts_) {
        pollfd mounts{.fd = mounts_.get(), .events = POLLPRI, .revents = 0};
        return ::poll(&mounts, 1, 0) > 0;
    }
    if (!openingMounts_.isDue()) {
        return false;
    }
    mounts_ = FileDescriptor(calls_.openAt(AT_FDCWD, mountinfo_.c_str(), 0));
    return static_cast<bool>(mounts_);
}

void VolumeReader::findMount() {
    std::string buffer;
    const auto text = readWhole(calls_, mounts_.get(), buffer);
    const MountTable table(text.value_or(std::string_view()));
    const Mount* const found = table.holding(path_);
    const std::optional<Mount> mount = found ? std::optional(*found) : std::nullopt;
    if (mount != mount_) {
        mount_ = mount;
        remote_.forget();
    }
}

} // namespace korvel::platform
