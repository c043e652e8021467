#include "platform/linux/update/bundle_manifest.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/update/relative_path.h"

namespace korvel::platform {

namespace {

constexpr std::string_view kFirstLine = "korvel-manifest 1";
constexpr int kOctal = 8;
constexpr int kDecimal = 10;

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isWord(std::string_view word, std::size_t longest, std::string_view others) {
    return !word.empty() && word.size() <= longest &&
           std::all_of(word.begin(), word.end(), [&](char c) {
               return isLetterOrDigit(c) || others.find(c) != std::string_view::npos;
           });
}

bool isDigest(std::string_view digest) {
    constexpr std::size_t kLength = 64;
    return digest.size() == kLength && std::all_of(digest.begin(), digest.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// Nobody but the owner may write, and nothing runs with another's rights; the owner can read it.
bool isPlainMode(const BundleEntry& entry) {
    constexpr std::uint32_t kMost = 0755;
    const std::uint32_t least = entry.kind == BundleEntryKind::folder ? 0700U : 0400U;
    return (entry.mode & ~kMost) == 0 && (entry.mode & least) == least;
}

/// `bytes` are those of the files before it, to which its own are added.
Status<BundleFault> checkEntry(const BundleTree& tree, const std::string& path,
                               const BundleEntry& entry, std::uint64_t& bytes) {
    if (path == ".") {
        if (entry.kind != BundleEntryKind::folder) {
            return Error{BundleFault::notAFolder, path};
        }
    } else if (!isPlainRelativePath(path) || path.back() == '/') {
        return Error{BundleFault::notAPlainPath, path};
    } else if (path == kManifestPath || path == kManifestSignaturePath) {
        return Error{BundleFault::ofSignature, path};
    } else {
        const std::size_t slash = path.rfind('/');
        const auto parent = tree.find(slash == std::string::npos ? "." : path.substr(0, slash));
        if (parent == tree.end() || parent->second.kind != BundleEntryKind::folder) {
            return Error{BundleFault::inNoFolder, path};
        }
    }
    if (entry.kind == BundleEntryKind::link) {
        return linkStaysInside(path, entry.target) ? Status<BundleFault>()
                                                   : Error{BundleFault::leavesBundle, path};
    }
    if (!isPlainMode(entry)) {
        return Error{BundleFault::badMode, path, fmt::format("{:o}", entry.mode)};
    }
    if (entry.kind == BundleEntryKind::file) {
        if (!isDigest(entry.sha256)) {
            return Error{BundleFault::noDigest, path};
        }
        if (entry.size > kMostBundleBytes - bytes) {
            return Error{BundleFault::tooLarge, path};
        }
        bytes += entry.size;
    }
    return {};
}

std::string line(const std::string& path, const BundleEntry& entry) {
    switch (entry.kind) {
    case BundleEntryKind::file:
        return fmt::format("file\t{:o}\t{}\t{}\t{}\n", entry.mode, entry.size, entry.sha256, path);
    case BundleEntryKind::folder:
        return fmt::format("folder\t{:o}\t{}\n", entry.mode, path);
    case BundleEntryKind::link:
        break;
    }
    return fmt::format("link\t{}\t{}\n", path, entry.target);
}

std::vector<std::string_view> fields(std::string_view line) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t tab = line.find('\t');
        parts.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos) {
            return parts;
        }
        line.remove_prefix(tab + 1);
    }
}

template <typename Number>
bool readNumber(std::string_view digits, int base, Number& number) {
    const auto read = wholeNumber<Number>(digits, base);
    number = read.value_or(0);
    return read.has_value();
}

bool readEntry(std::string_view line, BundleTree& tree) {
    const std::vector<std::string_view> parts = fields(line);
    BundleEntry entry;
    std::string_view path;
    if (parts.size() == 5 && parts[0] == "file") {
        if (!readNumber(parts[1], kOctal, entry.mode) ||
            !readNumber(parts[2], kDecimal, entry.size)) {
            return false;
        }
        entry.sha256 = parts[3];
        path = parts[4];
    } else if (parts.size() == 3 && parts[0] == "folder") {
        entry.kind = BundleEntryKind::folder;
        if (!readNumber(parts[1], kOctal, entry.mode)) {
            return false;
        }
        path = parts[2];
    } else if (parts.size() == 3 && parts[0] == "link") {
        entry.kind = BundleEntryKind::link;
        path = parts[1];
        entry.target = parts[2];
    } else {
        return false;
    }
    return tree.emplace(path, std::move(entry)).second;
}

/// Takes the next line off the text, which is to be `name`, a tab and the value.
std::optional<std::string_view> takeValue(std::string_view& text, std::string_view name) {
    const auto line = takeLine(text);
    if (!line || line->size() <= name.size() || line->substr(0, name.size()) != name ||
        (*line)[name.size()] != '\t') {
        return std::nullopt;
    }
    return line->substr(name.size() + 1);
}

} // namespace

Status<BundleFault> checkTree(const BundleTree& tree) {
    if (tree.find(".") == tree.end()) {
        return Error{BundleFault::missing, "."};
    }
    if (tree.size() > kMostBundleEntries) {
        return Error{BundleFault::holdsTooMuch, "."};
    }
    std::uint64_t bytes = 0;
    for (const auto& [path, entry] : tree) {
        if (Status<BundleFault> checked = checkEntry(tree, path, entry, bytes); !checked) {
            return checked;
        }
    }
    return {};
}

Result<std::string, BundleFault> writeManifest(const BundleManifest& manifest) {
    constexpr std::size_t kLongestIdentifier = 255;
    constexpr std::size_t kLongestVersion = 64;
    if (!isWord(manifest.identifier, kLongestIdentifier, ".-") ||
        !isWord(manifest.version, kLongestVersion, ".-+") || manifest.build < 1) {
        return Error{BundleFault::descriptionUnfit};
    }
    if (const Status<BundleFault> checked = checkTree(manifest.entries); !checked) {
        return checked.error();
    }
    std::string text = fmt::format("{}\nidentifier\t{}\nversion\t{}\nbuild\t{}\n", kFirstLine,
                                   manifest.identifier, manifest.version, manifest.build);
    for (const auto& [path, entry] : manifest.entries) {
        text += line(path, entry);
        if (text.size() > kLargestManifest) {
            return Error{BundleFault::manifestTooLarge};
        }
    }
    return text;
}

Result<BundleManifest, BundleFault> readManifest(std::string_view text) {
    const Error malformed{BundleFault::manifestMalformed};
    if (text.size() > kLargestManifest) {
        return malformed;
    }
    std::string_view rest = text;
    if (takeLine(rest) != kFirstLine) {
        return malformed;
    }
    const auto identifier = takeValue(rest, "identifier");
    const auto version = identifier ? takeValue(rest, "version") : std::nullopt;
    const auto build = version ? takeValue(rest, "build") : std::nullopt;
    BundleManifest manifest;
    if (!build || !readNumber(*build, kDecimal, manifest.build)) {
        return malformed;
    }
    manifest.identifier = *identifier;
    manifest.version = *version;
    while (!rest.empty()) {
        const auto next = takeLine(rest);
        if (!next || manifest.entries.size() == kMostBundleEntries ||
            !readEntry(*next, manifest.entries)) {
            return malformed;
        }
    }
    // Order, leading zeros and all else that could be written in two ways is settled here.
    if (const auto written = writeManifest(manifest); !written || *written != text) {
        return malformed;
    }
    return manifest;
}

} // namespace korvel::platform
