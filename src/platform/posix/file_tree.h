#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/result.h"

namespace korvel::platform {

/// Called after each entry of a tree that was worked on.
using AfterEntry = std::function<void()>;

/// The names in the folder but "." and "..", in the system's order. nullopt (errno tells): it
/// cannot be listed, or has more than `most` (EFBIG). The descriptor stays the caller's.
std::optional<std::vector<std::string>>
folderNames(int folder, std::size_t most = std::numeric_limits<std::size_t>::max());

/// What the last call of the system said, about this path.
Error<std::errc> lastError(std::string path);

/// Copies a file, a link as the link that it is, or a folder with all that is in it, to a name
/// where nothing is yet, through to the disk. Modes and times are kept; owners are not, and so no
/// set-user and set-group bits either. An error (not_supported: it is none of these three) is about
/// the path that could not be copied; part of the copy may then be there.
Status<std::errc> copyTree(const std::string& from, const std::string& to, const AfterEntry& after);

/// Removes what has this path, a folder with all that is in it. Links are not followed; a folder
/// inside that may not be written is made writable. What cannot be removed stays.
void removeTree(const std::string& path, const AfterEntry& after);

} // namespace korvel::platform
