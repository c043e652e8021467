#include "platform/linux/kernel/kept_file.h"

#include <cerrno>

#include <fcntl.h>

namespace korvel::platform {

std::optional<std::string_view> readWhole(FileCalls& calls, int file, std::string& buffer,
                                          HandedOver how, Enough enough) {
    constexpr std::size_t kFirstSize = 8192;
    constexpr std::size_t kLargest = std::size_t{16} << 20;
    if (buffer.size() < kFirstSize) {
        buffer.resize(kFirstSize);
    }
    std::size_t used = 0;
    for (;;) {
        if (used == buffer.size()) {
            if (used >= kLargest) {
                errno = EFBIG;
                return std::nullopt;
            }
            buffer.resize(buffer.size() * 2);
        }
        const ssize_t got = calls.readAt(file, buffer.data() + used, buffer.size() - used,
                                         static_cast<off_t>(used));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        used += static_cast<std::size_t>(got);
        const std::string_view text = std::string_view(buffer).substr(0, used);
        const bool isEnd = got == 0 || (how == HandedOver::atOnce && used < buffer.size());
        if (isEnd || (enough != nullptr && enough(text))) {
            return text;
        }
    }
}

std::string readOnce(FileCalls& calls, const std::string& path, std::string& buffer) {
    const FileDescriptor file(calls.openAt(AT_FDCWD, path.c_str(), 0));
    const auto text = file ? readWhole(calls, file.get(), buffer) : std::nullopt;
    return std::string(text.value_or(std::string_view()));
}

std::optional<std::string_view> KeptFile::read(std::string& buffer, Enough enough) {
    if (!file_ && !open()) {
        return std::nullopt;
    }
    const std::optional<std::string_view> text =
        readWhole(*calls_, file_.get(), buffer, how_, enough);
    if (!text && errno == ENODEV) {
        // What the file told about is gone; the same path may come to stand for another device.
        file_.reset();
    }
    return text;
}

bool KeptFile::open() {
    if (!opening_.isDue()) {
        return false;
    }
    file_ = FileDescriptor(calls_->openAt(AT_FDCWD, path_.c_str(), 0));
    if (file_ || errno == EMFILE || errno == ENFILE || errno == EINTR) {
        opening_.hasten();
    }
    return static_cast<bool>(file_);
}

} // namespace korvel::platform
