#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// A file that is being filled, the user's alone, in the system's folder of temporary files. It is
/// removed with this object unless somebody has moved it away.
class DownloadFile {
  public:
    /// None: it cannot be made.
    static std::optional<DownloadFile> make();

    DownloadFile(DownloadFile&& other) noexcept;
    DownloadFile& operator=(DownloadFile&&) = delete;
    DownloadFile(const DownloadFile&) = delete;
    DownloadFile& operator=(const DownloadFile&) = delete;
    ~DownloadFile();

    const std::string& path() const { return path_; }
    /// False: not all of it could be written.
    bool append(std::string_view bytes);
    /// No more is written.
    void close() { descriptor_.reset(); }

  private:
    DownloadFile(std::string path, int descriptor);

    std::string path_; ///< empty: moved from
    FileDescriptor descriptor_;
};

} // namespace korvel::platform
