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

    /// Makes the folder of one installation, for the user alone, and gives its path, also where it
    /// could not be made. What is made ready in it can take the place of the bundle `place` by a
    /// mere move; empty: it will take none. Until it is removed, or this process has ended, no
    /// other copy of the program takes it for one that was left behind.
    virtual std::string makeWorkFolder(const std::string& name, const std::string& place) = 0;

    /// Makes the folder and those above it, for the user alone. False: it is not there afterwards.
    virtual bool createDirectory(const std::string& path) = 0;

    /// Gives the file or folder a new path on the same volume, never over what is there; that it
    /// did is on the disk then. After an error all is as before. It is about `from`; its detail is
    /// the system's own sentence for the user, where the system has one.
    virtual Status<std::errc> move(const std::string& from, const std::string& to) = 0;

    /// Exchanges what has the two paths, in one step and through to the disk. False: nothing is
    /// changed, for the volume cannot, or a move would fail as well.
    virtual bool exchange(const std::string& one, const std::string& other) = 0;

    /// Returns when all that is in the folder is on the disk.
    virtual Status<std::errc> flush(const std::string& folder) = 0;

    /// To be called before the bundle `place` is moved to "old.app" in the folder of the work: from
    /// then on, whichever copy of the program starts next moves it back where nothing has its
    /// place. An error is about `place`, and means that the next one would not.
    virtual Status<std::errc> recordReplacement(const std::string& workFolder,
                                                const std::string& place) = 0;

    /// Removes the file, or the folder with all that is in it; links are not followed. Failures are
    /// silent.
    virtual void remove(const std::string& path) = 0;

    /// The names in a folder but "." and "..", in the system's order; nullopt when it cannot be
    /// listed.
    virtual std::optional<std::vector<std::string>> contents(const std::string& path) = 0;
};

} // namespace korvel::platform
