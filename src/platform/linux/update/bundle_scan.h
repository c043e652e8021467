#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/update/bundle_manifest.h"

namespace korvel::platform {

/// Lists the bundle at `path` and reads every file in it, without following a link, the bundle
/// itself included. An error: something could not be read, is neither file, folder nor link, has a
/// second name (a hard link), or makes it a tree that is not signed.
Result<BundleTree, BundleFault> scanBundle(const std::string& path);

/// The bytes of a file of the bundle; nullopt when there is none, a link leads to it, it has a
/// second name or is larger than `most` bytes.
std::optional<std::string> readInBundle(const std::string& bundle, std::string_view path,
                                        std::size_t most);

/// The SHA-256 digest of the bytes as 64 lower-case hexadecimal digits.
std::string sha256Of(std::string_view bytes);

} // namespace korvel::platform
