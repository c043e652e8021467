#pragma once

#include <cstddef>
#include <string_view>

namespace korvel::platform {

constexpr std::size_t kLongestBundlePath = 1024;
constexpr std::size_t kDeepestBundlePath = 32;

/// Whether it is a path of 1 to 1024 bytes of UTF-8 without control characters, of names of at most
/// 255 bytes that are neither empty nor "." nor "..", at most 32 of them; a folder's may end in a
/// slash.
bool isPlainRelativePath(std::string_view path);

/// Whether a link of this path and target leads to what is inside the folder that it is unpacked
/// into, whatever other such links are there too: ".." is taken at the start of the target only,
/// since after another name it may be that of a link.
bool linkStaysInside(std::string_view path, std::string_view target);

} // namespace korvel::platform
