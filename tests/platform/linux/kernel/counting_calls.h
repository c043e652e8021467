#pragma once

#include <atomic>
#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/kernel/file_calls.h"

namespace korvel::platform {

/// The system's calls, counted and remembered, and failing on demand.
class CountingCalls final : public FileCalls {
  public:
    int openAt(int directory, const char* path, int flags) override {
        ++opens;
        {
            const std::lock_guard lock(mutex_);
            paths.emplace_back(path);
        }
        if (const int error = failOpen ? failOpen(path) : 0) {
            errno = error;
            return -1;
        }
        const int file = FileCalls::openAt(directory, path, flags);
        if (file >= 0) {
            ++opened;
            const std::lock_guard lock(mutex_);
            pathOf_[file] = path;
        }
        return file;
    }

    ssize_t readAt(int file, char* buffer, std::size_t size, off_t offset) override {
        ++reads;
        if (const int error = failRead ? failRead(file) : 0) {
            errno = error;
            return -1;
        }
        if (offset == 0) {
            const std::lock_guard lock(mutex_);
            ++timesRead_[pathOf_[file]];
        }
        return FileCalls::readAt(file, buffer, size, offset);
    }

    /// How often each file was read from its start, by the path that it was opened with.
    std::map<std::string, int> timesRead() const {
        const std::lock_guard lock(mutex_);
        return timesRead_;
    }

    std::atomic<int> opens{0};  ///< tried
    std::atomic<int> opened{0}; ///< with success
    std::atomic<int> reads{0};
    std::vector<std::string> paths;                       ///< opened so far
    std::function<int(const std::string& path)> failOpen; ///< an errno, or 0 to go on
    std::function<int(int file)> failRead;                ///< an errno, or 0 to go on

  private:
    mutable std::mutex mutex_;
    std::map<int, std::string> pathOf_; ///< by descriptor
    std::map<std::string, int> timesRead_;
};

} // namespace korvel::platform
