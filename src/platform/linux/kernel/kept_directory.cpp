#include "platform/linux/kernel/kept_directory.h"

#include <cstdint>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace korvel::platform {

int KeptDirectory::descriptor() {
    if (!directory_) {
        directory_ = FileDescriptor(calls_->openAt(AT_FDCWD, path_.c_str(), O_DIRECTORY));
    }
    return directory_.get();
}

bool KeptDirectory::list(const std::function<void(std::string_view)>& visit) {
    // The C library's readdir would do, but its stream keeps entries from before a rewind.
    constexpr std::size_t kBufferSize = 32768;
    const int directory = descriptor();
    if (directory < 0 || ::lseek(directory, 0, SEEK_SET) != 0) {
        return false;
    }
    buffer_.resize(kBufferSize);
    for (;;) {
        const long got = ::syscall(SYS_getdents64, directory, buffer_.data(), buffer_.size());
        if (got <= 0) {
            return got == 0;
        }
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            std::uint16_t length = 0;
            const char* const entry = buffer_.data() + at;
            std::memcpy(&length, entry + offsetof(dirent64, d_reclen), sizeof length);
            visit(std::string_view(entry + offsetof(dirent64, d_name)));
            at += length;
        }
    }
}

} // namespace korvel::platform
