#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform {

/// The user's files.
class Files {
  public:
    virtual ~Files() = default;

    /// Absolute path of the user's home directory, without a slash at its end.
    virtual std::string homeDirectory() = 0;

    /// The whole content of a file; nullopt when it cannot be read or is no regular file.
    virtual std::optional<std::string> read(const std::string& path) = 0;

    /// Replaces the content of the file in place (links are followed, the inode stays) or makes the
    /// file. False: it could not be written. It is then as it was where there was no room for a
    /// longer one, and may be cut short where the disk failed.
    virtual bool write(const std::string& path, std::string_view bytes) = 0;
};

} // namespace korvel::platform
