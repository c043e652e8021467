#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/file_calls.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// A directory of /proc or /sys that is listed again and again through one kept descriptor.
class KeptDirectory {
  public:
    KeptDirectory(FileCalls& calls, std::string path) : calls_(&calls), path_(std::move(path)) {}

    /// Calls `visit` with each entry's name, "." and ".." among them, in the system's order. The
    /// name lives during the call. False: the directory could not be listed (to its end).
    bool list(const std::function<void(std::string_view)>& visit);

    /// For opening below the directory; -1 when it cannot be opened.
    int descriptor();

  private:
    FileCalls* calls_;
    std::string path_;
    FileDescriptor directory_;
    std::vector<char> buffer_;
};

} // namespace korvel::platform
