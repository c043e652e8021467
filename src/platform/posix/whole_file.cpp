#include "platform/posix/whole_file.h"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvel::platform {

namespace {

constexpr std::size_t kPiece = 65536;

/// open(2), made again when a signal interrupts it.
int openToRead(const char* path) {
    for (;;) {
        const int file = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (file >= 0 || errno != EINTR) {
            return file;
        }
    }
}

/// read(2), made again when a signal interrupts it.
ssize_t readSome(int file, char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t got = ::read(file, buffer, size);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

} // namespace

FileDescriptor openFile(const std::string& path) {
    FileDescriptor file(openToRead(path.c_str()));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return FileDescriptor();
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return FileDescriptor();
    }
    return file;
}

bool readPieces(int file, const std::function<bool(std::string_view piece)>& take) {
    std::array<char, kPiece> buffer;
    for (;;) {
        const ssize_t got = readSome(file, buffer.data(), buffer.size());
        if (got <= 0) {
            return got == 0;
        }
        if (!take({buffer.data(), static_cast<std::size_t>(got)})) {
            return false;
        }
    }
}

std::optional<std::string> readAll(int file, std::uint64_t most) {
    // Only a regular file tells its size, and not each of them: the kernel's own say 0.
    struct stat status {};
    const bool isSized = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    const std::uint64_t size = isSized ? static_cast<std::uint64_t>(status.st_size) : 0;
    if (size > most) {
        errno = EFBIG;
        return std::nullopt;
    }
    // More than the size, so that the end is met without another allocation, and so that a parser
    // that wants room behind the text need not copy it.
    constexpr std::size_t kSpare = 128;
    std::string content;
    std::size_t used = 0;
    content.resize(static_cast<std::size_t>(size) + kSpare);
    for (;;) {
        const ssize_t got = readSome(file, content.data() + used, content.size() - used);
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            content.resize(used);
            return content;
        }
        used += static_cast<std::size_t>(got);
        if (used > most) {
            errno = EFBIG;
            return std::nullopt;
        }
        if (used == content.size()) {
            content.resize(content.size() + kPiece);
        }
    }
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t put = ::write(file, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

} // namespace korvel::platform
