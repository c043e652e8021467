#include "platform/posix/files.h"

#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

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
    const FileDescriptor file = openFile(path);
    return file ? readAll(file.get(), std::uint64_t{kLargestFile}) : std::nullopt;
}

bool PosixFiles::write(const std::string& path, std::string_view bytes) {
    constexpr mode_t kMode = 0666; // less the user's mask
    const FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, kMode));
    return file && writeAll(file.get(), bytes);
}

} // namespace korvel::platform
