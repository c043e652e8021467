#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/result.h"

namespace korvel::platform {

/// Moves whole files and folders about.
class FileManager {
  public:
    virtual ~FileManager() = default;

    /// Where the system wants temporary files: absolute, without a slash at the end.
    virtual std::string temporaryDirectory() = 0;

    /// Makes the folder and those above it, for the user alone. False: it is not there afterwards.
    virtual bool createDirectory(const std::string& path) = 0;

    /// Gives the file or folder a new path, also on another volume; never over what is there. After
    /// an error all is as before. It is about the path at which it went wrong: `from`, or what lies
    /// in it; its detail is the system's own sentence for the user, where the system has one.
    virtual Status<std::errc> move(const std::string& from, const std::string& to) = 0;

    /// Removes the file, or the folder with all that is in it; links are not followed. Failures are
    /// silent.
    virtual void remove(const std::string& path) = 0;

    /// The names in a folder but "." and "..", in the system's order; nullopt when it cannot be
    /// listed.
    virtual std::optional<std::vector<std::string>> contents(const std::string& path) = 0;
};

} // namespace korvel::platform
