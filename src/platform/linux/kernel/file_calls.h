#pragma once

#include <cstddef>

#include <sys/types.h>

namespace korvel::platform {

/// The calls with which the readers open and read files. A test counts them or makes them fail.
/// Both set errno as the system's own do. Callable from any thread.
class FileCalls {
  public:
    virtual ~FileCalls() = default;

    /// openat(2); the descriptor is closed on exec. -1 on failure.
    virtual int openAt(int directory, const char* path, int flags);

    /// pread(2). -1 on failure.
    virtual ssize_t readAt(int file, char* buffer, std::size_t size, off_t offset);

    /// The system's own calls.
    static FileCalls& system();
};

} // namespace korvel::platform
