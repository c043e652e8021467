#include "platform/posix/files.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

std::string PosixFiles::homeDirectory() {
    std::string home;
    if (const char* variable = std::getenv("HOME"); variable != nullptr && *variable == '/') {
        home = variable;
    } else if (const passwd* account = ::getpwuid(::getuid())) {
        home = account->pw_dir;
    }
    while (home.size() > 1 && home.back() == '/') {
        home.pop_back();
    }
    return home;
}

std::optional<std::string> PosixFiles::read(const std::string& path) {
    // Not to hang on a pipe that lies where a file should.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kLargestFile) {
        return std::nullopt;
    }
    constexpr std::size_t kChunk = 65536;
    // More than the size, so that the end is met without another allocation, and so that a parser
    // that wants room behind the text need not copy it.
    constexpr std::size_t kSpare = 128;
    std::string content;
    std::size_t used = 0;
    content.resize(static_cast<std::size_t>(status.st_size) + kSpare);
    for (;;) {
        const ssize_t got = ::read(file.get(), content.data() + used, content.size() - used);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        used += static_cast<std::size_t>(got);
        if (used > std::size_t{kLargestFile}) {
            return std::nullopt;
        }
        if (used == content.size()) {
            content.resize(content.size() + kChunk);
        }
    }
    content.resize(used);
    return content;
}

bool PosixFiles::write(const std::string& path, std::string_view bytes) {
    constexpr mode_t kMode = 0666; // less the user's mask
    const FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, kMode));
    if (!file) {
        return false;
    }
    while (!bytes.empty()) {
        const ssize_t put = ::write(file.get(), bytes.data(), bytes.size());
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
