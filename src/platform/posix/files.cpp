#include "platform/posix/files.h"

#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

bool writeAt(int file, std::size_t offset, std::string_view bytes) {
    return ::lseek(file, static_cast<off_t>(offset), SEEK_SET) >= 0 && writeAll(file, bytes);
}

} // namespace

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
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, kMode));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return false;
    }
    // What it is to be longer by is written behind its end first: where there is no room for that,
    // the file stays as it was.
    const auto length = static_cast<std::size_t>(status.st_size);
    if (length < bytes.size() && !writeAt(file.get(), length, bytes.substr(length))) {
        [[maybe_unused]] const int takenBack = ::ftruncate(file.get(), status.st_size);
        return false;
    }
    if (length == 0) {
        return true;
    }
    [[maybe_unused]] const int emptied = ::ftruncate(file.get(), 0);
    // By now the file may be empty: what is refused for a moment must not leave it so.
    return (writeAt(file.get(), 0, bytes) || writeAt(file.get(), 0, bytes)) &&
           (length <= bytes.size() ||
            ::ftruncate(file.get(), static_cast<off_t>(bytes.size())) == 0);
}

} // namespace korvel::platform
