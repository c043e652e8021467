#pragma once

#include <optional>
#include <string>

namespace korvel::platform {

/// The bundle that this program runs from.
class Bundle {
  public:
    virtual ~Bundle() = default;

    /// Its absolute path, without a slash at the end. A copy that was put in place over it while
    /// the program runs has the same path.
    virtual std::string path() = 0;

    /// The string that Info.plist, as it was when the program started, holds under `key`; nullopt
    /// when there is none or it is no string.
    virtual std::optional<std::string> infoString(const std::string& key) = 0;

    /// Whether the user may put another bundle in this one's place.
    virtual bool parentWritable() = 0;
};

} // namespace korvel::platform
