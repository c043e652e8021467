#pragma once

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace korvel::test {

/// Gives this process mounts of its own, which nothing else sees and which go with it. Why it could
/// not; empty when it has them.
inline std::string takePrivateMounts() {
    static const std::string failure = [] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            return std::string("no mounts of its own: ") + std::strerror(errno);
        }
        return std::string();
    }();
    return failure;
}

/// A small file system in memory, another volume than the rest. Takes private mounts.
class SmallVolume {
  public:
    /// The folder is made. `failure()` when it cannot be.
    SmallVolume(std::filesystem::path folder, const std::string& size)
        : folder_(std::move(folder)) {
        failure_ = takePrivateMounts();
        std::filesystem::create_directories(folder_);
        if (failure_.empty() &&
            ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0) {
            failure_ = std::string("no tmpfs: ") + std::strerror(errno);
        }
    }
    SmallVolume(const SmallVolume&) = delete;
    SmallVolume& operator=(const SmallVolume&) = delete;
    ~SmallVolume() {
        if (failure_.empty()) {
            ::umount2(folder_.c_str(), MNT_DETACH);
        }
    }

    const std::string& failure() const { return failure_; }
    const std::filesystem::path& folder() const { return folder_; }

  private:
    std::filesystem::path folder_;
    std::string failure_;
};

} // namespace korvel::test
