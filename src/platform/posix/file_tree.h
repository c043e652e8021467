#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/result.h"

namespace korvel::platform {

/// The names in the folder but "." and "..", in the system's order. nullopt (errno tells): it
/// cannot be listed, or has more than `most` (EFBIG). The descriptor stays the caller's.
std::optional<std::vector<std::string>>
folderNames(int folder, std::size_t most = std::numeric_limits<std::size_t>::max());

/// What the last call of the system said, about this path.
Error<std::errc> lastError(std::string path);

/// The folder that holds what has this path, with a slash at its end; empty for a mere name.
std::string folderOf(const std::string& path);

/// Has the names in the folder, not what they lead to, written to the disk. Failures are silent.
void flushFolder(const std::string& folder);

/// Has the folder with all that is in it written to the disk, file by file. Links are not followed.
Status<std::errc> flushTree(const std::string& folder);

/// Removes what has this path, a folder with all that is in it. Links are not followed; a folder
/// inside that may not be written is made writable. What cannot be removed stays.
void removeTree(const std::string& path);

} // namespace korvel::platform
