#include "platform/linux/kernel/file_calls.h"

#include <fcntl.h>
#include <unistd.h>

namespace korvel::platform {

int FileCalls::openAt(int directory, const char* path, int flags) {
    // Not to hang on a pipe that lies where a file should.
    return ::openat(directory, path, flags | O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

ssize_t FileCalls::readAt(int file, char* buffer, std::size_t size, off_t offset) {
    return ::pread(file, buffer, size, offset);
}

FileCalls& FileCalls::system() {
    static FileCalls calls;
    return calls;
}

} // namespace korvel::platform
