#pragma once

#include <optional>
#include <string>

namespace korvel::platform {

/// The key of what is new in the running build, a line each. Only a copy that looks it up nowhere
/// else has it.
constexpr const char* kReleaseNotesKey = "KorvelReleaseNotes";

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

    /// Whether a package manager put it in place, and sees to its updates: the program then asks no
    /// feed by itself.
    virtual bool managedElsewhere() = 0;
};

} // namespace korvel::platform
