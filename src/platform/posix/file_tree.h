#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// Called after each entry of a tree that was worked on.
using AfterEntry = std::function<void()>;

/// The names in the folder but "." and "..", in the system's order. nullopt (errno tells): it
/// cannot be listed. The descriptor stays the caller's.
std::optional<std::vector<std::string>> folderNames(int folder);

/// Copies a file, a link as the link that it is, or a folder with all that is in it, to a name
/// where nothing is yet, through to the disk. Modes and times are kept; owners are not, and so no
/// set-user and set-group bits either. False (errno tells; ENOTSUP: it holds what is none of these
/// three): part of the copy may be there.
bool copyTree(const std::string& from, const std::string& to, const AfterEntry& after);

/// Removes what has this path, a folder with all that is in it. Links are not followed; a folder
/// inside that may not be written is made writable. What cannot be removed stays.
void removeTree(const std::string& path, const AfterEntry& after);

} // namespace korvel::platform
