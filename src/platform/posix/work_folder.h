#pragma once

#include <string>
#include <system_error>

#include "base/result.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// The folder of one installation as it lies on the disk, and what it says of itself: a file in it
/// is locked by the process at work, which tells its folder from one that was left behind, and
/// holds the path of the bundle that is being replaced while nothing may have that path.
class WorkFolder {
  public:
    /// Makes the folder, for the user alone. Where it could not be made, nothing is locked.
    explicit WorkFolder(std::string path);

    /// Writes down, through to the disk, which bundle "old.app" in the folder is to be; and in the
    /// link `record`, unless that is empty, where the folder is.
    Status<std::errc> recordReplacement(const std::string& place, const std::string& record);

  private:
    bool openState();

    std::string path_;
    FileDescriptor state_; ///< locked; none where the folder could not be made
};

/// Where folders of installations may have been left behind.
struct WorkPlaces {
    std::string bundle;    ///< the one that this process runs from; empty: it runs from none
    std::string temporary; ///< the system's folder for temporary files
    std::string record;    ///< the link that leads to a folder elsewhere
};

/// To be called at the launch, before the process asks for its own path. Sees to the folders of
/// this user's installations that were stopped in the middle: puts the bundle "old.app" back where
/// that was to be replaced and nothing has its place, and removes the folder. One that a living
/// process holds, that cannot be emptied of its bundle, or that this process runs from, stays;
/// links are not followed.
void recoverWorkFolders(const WorkPlaces& places);

} // namespace korvel::platform
