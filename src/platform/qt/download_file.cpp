#include "platform/qt/download_file.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <QDir>
#include <QFile>

namespace korvel::platform {

std::optional<DownloadFile> DownloadFile::make() {
    std::string path = QFile::encodeName(QDir::tempPath()).toStdString() + "/korvel-XXXXXX";
    const int descriptor = ::mkostemp(path.data(), O_CLOEXEC); // made with mode 0600
    if (descriptor < 0) {
        return std::nullopt;
    }
    return DownloadFile(std::move(path), descriptor);
}

DownloadFile::DownloadFile(std::string path, int descriptor)
    : path_(std::move(path)), descriptor_(descriptor) {}

DownloadFile::DownloadFile(DownloadFile&& other) noexcept
    : path_(std::exchange(other.path_, {})), descriptor_(std::move(other.descriptor_)) {}

DownloadFile::~DownloadFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

bool DownloadFile::append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

} // namespace korvel::platform
