#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/bundle_fault.h"

namespace korvel::platform {

enum class BundleEntryKind { file, folder, link };

struct BundleEntry {
    BundleEntryKind kind = BundleEntryKind::file;
    /// Permission bits of a file or folder: none beyond 0755, at least 0400 or 0700. Links: 0.
    std::uint32_t mode = 0;
    std::uint64_t size = 0; ///< bytes of a file
    std::string sha256;     ///< of a file, 64 lower-case hexadecimal digits
    std::string target;     ///< of a link, as it stands in it

    bool operator==(const BundleEntry&) const = default;
};

/// What is in a bundle, by path relative to it; the bundle itself is the folder ".". The two files
/// of the signature, which cannot vouch for themselves, are left out, and nothing else is.
using BundleTree = std::map<std::string, BundleEntry>;

/// What a signature vouches for: whose bundle it is, which build, and all that is in it.
///
/// As text it is lines that end in a newline, of fields with one tab between them; no field can
/// hold either, since names with control characters are refused. In order:
///
///     korvel-manifest 1
///     identifier <TAB> com.oxbrook.korvel
///     version <TAB> 1.4.0
///     build <TAB> 42
///     folder <TAB> 755 <TAB> .
///     file <TAB> 644 <TAB> 812 <TAB> (SHA-256) <TAB> Contents/Info.plist
///     link <TAB> Contents/Resources/current <TAB> ../Info.plist
///
/// Entries are sorted by the bytes of their paths. Every manifest has one text only: numbers have
/// no leading zeros, and there is no white space or comment beside what is shown.
struct BundleManifest {
    std::string identifier; ///< 1 to 255 ASCII letters, digits, "." and "-"
    std::string version;    ///< 1 to 64 ASCII letters, digits, ".", "-" and "+"
    std::int64_t build = 0; ///< at least 1
    BundleTree entries;

    bool operator==(const BundleManifest&) const = default;
};

constexpr std::string_view kManifestPath = "Contents/_CodeSignature/Manifest";
constexpr std::string_view kManifestSignaturePath = "Contents/_CodeSignature/Manifest.p7s";
constexpr std::size_t kLargestManifest = std::size_t{512} << 10; ///< bytes of text
/// The bundle is unpacked from an archive, which has the two files of the signature besides, and
/// bounds of its own.
constexpr std::size_t kMostBundleEntries = 2000;
constexpr std::uint64_t kMostBundleBytes = std::uint64_t{192} << 20; ///< of all files together

/// Whether the tree is one that is signed. Refused are paths that are not plain, entries outside a
/// folder of the tree, other modes than above, links that leave the bundle, and what passes the
/// bounds.
Status<BundleFault> checkTree(const BundleTree& tree);

/// The text. An error is descriptionUnfit when a field is not as described, manifestTooLarge, or
/// what is wrong with the tree.
Result<std::string, BundleFault> writeManifest(const BundleManifest& manifest);

/// Reads what `writeManifest` wrote; all other bytes are manifestMalformed.
Result<BundleManifest, BundleFault> readManifest(std::string_view text);

} // namespace korvel::platform
