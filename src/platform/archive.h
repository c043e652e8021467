#pragma once

#include <string>

#include "base/result.h"

namespace korvel::platform {

/// Why an archive was not unpacked. An error that is about one of its entries has the entry's name
/// as its subject, unless that is not to be printed.
enum class ArchiveFault {
    unreadable,   ///< the archive cannot be read
    noFolder,     ///< the folder to unpack into is not there
    malformed,    ///< no archive, or one that could be understood in two ways
    unsupported,  ///< of a kind that archives of releases have none of
    oddName,      ///< no plain relative path
    nameTwice,    ///< there is another of this name, but for the case of letters
    leavesFolder, ///< a link to what is outside of the folder
    tooLarge,     ///< with all that is in it
    damaged,      ///< an entry is not as it was announced; the detail is the library's
    unwritable,   ///< the disk does not take it; the detail is the library's
    toolFailed,   ///< the detail is the tool's exit status
};

/// Unpacks zip archives.
class Archive {
  public:
    virtual ~Archive() = default;

    /// Unpacks the whole archive into an existing, empty folder, with modes and links. After an
    /// error some of it may be there. Blocks.
    virtual Status<ArchiveFault> unpack(const std::string& archive, const std::string& folder) = 0;
};

} // namespace korvel::platform
