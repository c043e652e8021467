#pragma once

#include <string>

namespace korvel::platform {

/// Unpacks zip archives.
class Archive {
  public:
    virtual ~Archive() = default;

    /// Unpacks the whole archive into an existing, empty folder, with modes and links. False: it
    /// could not be, or holds what would leave the folder; some of it may then be there. Blocks.
    virtual bool unpack(const std::string& archive, const std::string& folder) = 0;
};

} // namespace korvel::platform
