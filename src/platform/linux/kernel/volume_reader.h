#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/file_calls.h"
#include "platform/linux/kernel/mount_table.h"
#include "platform/linux/kernel/remote_volume.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// The volume that holds a path. The kernel's list of mounts tells, without touching any, whether a
/// file system on the way there may fail to answer; only then another thread asks. The list is read
/// at the first reading and when the kernel says that the mounts have changed. Callable from any
/// thread.
class VolumeReader {
  public:
    /// `path` is absolute; `mountinfo` is what lists the mounts of this process.
    explicit VolumeReader(std::string path, std::string mountinfo = "/proc/self/mountinfo",
                          AskVolume ask = askSystem, FileCalls& calls = FileCalls::system());

    /// nullopt when the volume counts no blocks (see `volumeStatistics`), cannot be asked, or has
    /// never answered so far. One that has answered before, and then does not, keeps its last
    /// reading. Takes 50 ms at the longest, unless a file system on a device of this machine hangs.
    std::optional<VolumeStatistics> read();

  private:
    static std::optional<struct statvfs> askSystem(const std::string& path);
    bool answersAlone();
    bool mountsChanged();
    void findMount();

    const std::string path_;
    FileCalls& calls_;
    const std::string mountinfo_;
    const AskVolume ask_;
    RemoteVolume remote_;

    std::mutex mutex_; ///< guards what follows; never held while a volume is asked
    FileDescriptor mounts_;
    EveryMinute openingMounts_;  ///< while there is no list
    std::optional<Mount> mount_; ///< where the way to the path ended when it was last followed
};

} // namespace korvel::platform
