#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/file_calls.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// How the kernel hands a file over to whoever asks for more than there is.
enum class HandedOver {
    atOnce,   ///< a text that is made as one: all of /sys, and what /proc has no list in
    inPieces, ///< a list, entry by entry: what comes first may be a part, and only nothing is the
              ///< end
};

/// Whether what has been read of a file is enough.
using Enough = bool (*)(std::string_view text);

/// Reads the whole of an open file from its start into `buffer`, which grows as needed and is made
/// to be used again; of one that comes in pieces no more than is enough. nullopt on an error (errno
/// tells) or beyond 16 MiB; the view lives until the buffer is next used.
std::optional<std::string_view> readWhole(FileCalls& calls, int file, std::string& buffer,
                                          HandedOver how = HandedOver::inPieces,
                                          Enough enough = nullptr);

/// The content of a file that is read this once; empty when it cannot be read.
std::string readOnce(FileCalls& calls, const std::string& path, std::string& buffer);

/// A file of /proc or /sys that is read again and again: opened at the first reading, kept open and
/// read from its start each time, because opening costs several times what reading does.
class KeptFile {
  public:
    KeptFile(FileCalls& calls, std::string path, HandedOver how = HandedOver::atOnce)
        : calls_(&calls), path_(std::move(path)), how_(how) {}

    /// The file's content now, as `readWhole`. A file that is not there or may not be opened is
    /// looked for again at every twelfth reading only.
    std::optional<std::string_view> read(std::string& buffer, Enough enough = nullptr);

    /// After a reading: false when the file is not there, or what it told about is gone.
    bool isOpen() const { return static_cast<bool>(file_); }

  private:
    bool open();

    FileCalls* calls_;
    std::string path_;
    HandedOver how_;
    FileDescriptor file_;
    EveryMinute opening_; ///< while it is not open
};

} // namespace korvel::platform
