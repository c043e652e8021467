#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

/// One mounted file system.
struct Mount {
    int id = 0;
    int parent = 0;     ///< the mount on which it lies
    std::string device; ///< major:minor
    std::string point;  ///< absolute path of the folder that it covers
    /// Whether the kernel answers for it alone: it waits for no server, program or other machine.
    bool answersAlone = false;

    bool operator==(const Mount&) const = default;
};

/// The mounts of a process, as /proc/PID/mountinfo tells them without touching any.
class MountTable {
  public:
    /// Lines that are none of mountinfo's are left out.
    explicit MountTable(std::string_view mountinfo);

    const std::vector<Mount>& mounts() const { return mounts_; }

    /// The mount that holds `path`, an absolute one, or the first on the way there that does not
    /// answer alone. Links are followed as the kernel would; a mount that does not answer alone is
    /// not touched. nullptr when the table has no root.
    const Mount* holding(std::string_view path) const;

  private:
    const Mount* topmost(const Mount* under, std::string_view point) const;
    const Mount* root() const;

    std::vector<Mount> mounts_;
};

} // namespace korvel::platform
