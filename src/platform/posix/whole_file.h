#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/file_descriptor.h"

/// Reading and writing on a descriptor until all is done, however little the system does at a time
/// and whatever signals come between. Where one fails, errno tells why.
namespace korvel::platform {

/// Opens a regular file to read; none where it cannot be opened or is of another kind (EISDIR, or
/// EINVAL), and a pipe that lies where a file should is not waited for.
FileDescriptor openFile(const std::string& path);

/// Hands over what there is up to the end, piece by piece. False: it cannot be read, or `take` gave
/// false, after which nothing more is read.
bool readPieces(int file, const std::function<bool(std::string_view piece)>& take);

/// What there is up to the end, with some room behind it for a parser that reads ahead. nullopt: it
/// cannot be read, or is more than `most` bytes (EFBIG).
std::optional<std::string> readAll(int file, std::uint64_t most);

/// False: not all of it could be written.
bool writeAll(int file, std::string_view bytes);

} // namespace korvel::platform
