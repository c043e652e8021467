#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/file_calls.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// Reads the whole of an open file from its start into `buffer`, which grows as needed and is made
/// to be used again. nullopt on an error (errno tells) or beyond 16 MiB; the view lives until the
/// buffer is next used.
std::optional<std::string_view> readWhole(FileCalls& calls, int file, std::string& buffer);

/// The content of a file that is read this once; empty when it cannot be read.
std::string readOnce(FileCalls& calls, const std::string& path, std::string& buffer);

/// A file of /proc or /sys that is read again and again: opened at the first reading, kept open and
/// read from its start each time, because opening costs several times what reading does.
class KeptFile {
  public:
    KeptFile(FileCalls& calls, std::string path) : calls_(&calls), path_(std::move(path)) {}

    /// The file's content now, as `readWhole`. A file that is not there or may not be opened is
    /// looked for again at every twelfth reading only.
    std::optional<std::string_view> read(std::string& buffer);

    /// After a reading: false when the file is not there, or what it told about is gone.
    bool isOpen() const { return static_cast<bool>(file_); }

  private:
    bool open();

    FileCalls* calls_;
    std::string path_;
    FileDescriptor file_;
    EveryMinute opening_; ///< while it is not open
};

} // namespace korvel::platform
