#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "platform/archive.h"

namespace korvel::platform {

enum class ZipKind { file, folder, link };

struct ZipEntry {
    ZipKind kind = ZipKind::file;
    std::uint64_t size = 0; ///< bytes, unpacked
};

/// What an archive says that it holds.
struct ZipIndex {
    std::map<std::string, ZipEntry> entries; ///< by path, that of a folder with a slash at the end
    /// Folders, with a slash at the end, that are no entries but that entries lie in.
    std::set<std::string> impliedFolders;
};

/// Reads the index of a zip archive before anything of it is unpacked, as narrowly as the archives
/// of releases allow: files, folders and links of a Unix system, stored or deflated, without room
/// for other data, comment, encryption or 64-bit sizes. What two readers could understand in two
/// ways, names that are no plain relative paths or differ in the case of letters only, and whatever
/// passes the bounds below is refused. The bounds are kept while the index is read, so that neither
/// time nor memory goes into what is refused.
Result<ZipIndex, ArchiveFault> readZipIndex(std::string_view archive);

/// Entries and implied folders together. A bundle with all the libraries that it needs has some
/// hundreds.
constexpr std::size_t kMostZipPaths = 2048;
/// Of the text of these paths. Those of a bundle are shorter than a hundred bytes.
constexpr std::size_t kMostZipPathBytes = std::size_t{256} << 10;
/// Twice what a bundle with all the libraries that it needs takes.
constexpr std::uint64_t kMostUnpackedBytes = std::uint64_t{192} << 20;
/// More than this many times the size of the archive is no program.
constexpr std::uint64_t kMostZipRatio = 200;
/// Unpacked bytes up to which the ratio does not matter.
constexpr std::uint64_t kRatioFreeBytes = std::uint64_t{16} << 20;

} // namespace korvel::platform
