#include "platform/linux/update/zip_index.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/update/relative_path.h"

namespace korvel::platform {

namespace {

/// One of the four kinds of record in an archive; numbers are little-endian.
class Record {
  public:
    /// At this place in the archive; nullopt where it does not fit or is of another kind.
    static std::optional<Record> at(std::string_view archive, std::uint64_t place,
                                    std::string_view signature, std::size_t length) {
        if (place > archive.size() || archive.size() - place < length ||
            archive.substr(place, signature.size()) != signature) {
            return std::nullopt;
        }
        return Record(archive.substr(place, length));
    }

    std::uint32_t two(std::size_t at) const { return byte(at) | byte(at + 1) << 8U; }
    std::uint32_t four(std::size_t at) const { return two(at) | two(at + 2) << 16U; }
    std::string_view bytes(std::size_t at, std::size_t length) const {
        return bytes_.substr(at, length);
    }

  private:
    explicit Record(std::string_view bytes) : bytes_(bytes) {}
    std::uint32_t byte(std::size_t at) const { return static_cast<unsigned char>(bytes_[at]); }

    std::string_view bytes_;
};

constexpr std::string_view kLocalSignature("PK\3\4");
constexpr std::string_view kCentralSignature("PK\1\2");
constexpr std::string_view kSizesSignature("PK\7\10");
constexpr std::string_view kEnd64Signature("PK\6\7"); ///< leads to another end, of 64 bits
constexpr std::string_view kEndSignature("PK\5\6");
constexpr std::size_t kLocalLength = 30;
constexpr std::size_t kCentralLength = 46;
constexpr std::size_t kSizesLength = 16;
constexpr std::size_t kEnd64Length = 20;
constexpr std::size_t kEndLength = 22;

constexpr std::uint32_t kStored = 0;
constexpr std::uint32_t kDeflated = 8;
/// Encrypted, strongly encrypted, with a hidden index.
constexpr std::uint32_t kRefusedFlags = 1U | 1U << 6U | 1U << 13U;
/// Checksum and sizes were not known when the entry's own header was written; a record of them
/// follows its data.
constexpr std::uint32_t kSizesFollow = 1U << 3U;
constexpr std::uint32_t kMadeOnUnix = 3;
constexpr std::uint32_t kMadeOnMac = 19;
constexpr std::uint32_t kStandsFor64Bits = 0xffffffff;

struct Range {
    std::uint64_t begin;
    std::uint64_t end;
};

struct Described {
    std::string_view name;
    ZipEntry entry;
    Range bytes{0, 0}; ///< in the archive, from its own header to its data's end
};

/// By the mode, where that has a kind; nullopt: another kind, or one that the name is not of.
std::optional<ZipKind> kindOf(std::uint32_t mode, std::string_view name) {
    constexpr std::uint32_t kKindBits = 0170000;
    const bool namedAsFolder = !name.empty() && name.back() == '/';
    const auto unless = [](bool wrong, ZipKind kind) {
        return wrong ? std::nullopt : std::optional(kind);
    };
    switch (mode & kKindBits) {
    case 0:
        return namedAsFolder ? ZipKind::folder : ZipKind::file;
    case 0040000:
        return unless(!namedAsFolder, ZipKind::folder);
    case 0100000:
        return unless(namedAsFolder, ZipKind::file);
    case 0120000:
        return unless(namedAsFolder, ZipKind::link);
    default:
        return std::nullopt;
    }
}

/// Where the entry ends whose description in the index and own header these are; nullopt where the
/// two do not say the same. `end` is where its data ends.
std::optional<std::uint64_t> endOfEntry(std::string_view archive, const Record& central,
                                        const Record& local, std::uint64_t end) {
    constexpr std::size_t kCentralFlags = 8; // then method, time and date
    constexpr std::size_t kLocalFlags = 6;
    constexpr std::size_t kCentralSizes = 16; // checksum, packed and unpacked size
    constexpr std::size_t kLocalSizes = 14;
    constexpr std::size_t kSizes = 12;
    if (local.bytes(kLocalFlags, 8) != central.bytes(kCentralFlags, 8)) {
        return std::nullopt;
    }
    const bool sizesFollow = (central.two(kCentralFlags) & kSizesFollow) != 0;
    for (std::size_t at = 0; at < kSizes; at += 4) {
        const std::uint32_t own = local.four(kLocalSizes + at);
        if (own != central.four(kCentralSizes + at) && !(sizesFollow && own == 0)) {
            return std::nullopt;
        }
    }
    if (!sizesFollow) {
        return end;
    }
    const auto sizes = Record::at(archive, end, kSizesSignature, kSizesLength);
    if (!sizes || sizes->bytes(4, kSizes) != central.bytes(kCentralSizes, kSizes)) {
        return std::nullopt;
    }
    return end + kSizesLength;
}

/// The entry that the index describes at `place`, which moves on to the next.
Result<Described, ArchiveFault> readEntry(std::string_view archive, std::uint64_t& place) {
    const auto central = Record::at(archive, place, kCentralSignature, kCentralLength);
    if (!central) {
        return Error{ArchiveFault::malformed};
    }
    const std::uint32_t flags = central->two(8);
    const std::uint32_t method = central->two(10);
    const std::uint32_t packed = central->four(20);
    const std::uint32_t unpacked = central->four(24);
    const std::uint32_t nameLength = central->two(28);
    const std::uint32_t begin = central->four(42);
    const std::uint32_t comment = central->two(32);
    if ((flags & kRefusedFlags) != 0 || (method != kStored && method != kDeflated) ||
        packed == kStandsFor64Bits || unpacked == kStandsFor64Bits) {
        return Error{ArchiveFault::unsupported};
    }
    const auto local = Record::at(archive, begin, kLocalSignature, kLocalLength);
    if ((method == kStored && packed != unpacked) || comment != 0 || central->two(34) != 0 ||
        !local || local->two(26) != nameLength) {
        return Error{ArchiveFault::malformed};
    }
    const std::string_view name = archive.substr(place + kCentralLength, nameLength);
    const auto end =
        endOfEntry(archive, *central, *local,
                   std::uint64_t{begin} + kLocalLength + nameLength + local->two(28) + packed);
    if (!end || archive.substr(begin + kLocalLength, nameLength) != name) {
        return Error{ArchiveFault::malformed};
    }
    if (!isPlainRelativePath(name)) {
        return Error{ArchiveFault::oddName};
    }
    const std::uint32_t madeOn = central->two(4) >> 8U;
    const auto kind = kindOf(central->four(38) >> 16U, name);
    if ((madeOn != kMadeOnUnix && madeOn != kMadeOnMac) || !kind) {
        return Error{ArchiveFault::unsupported, std::string(name)};
    }
    place += kCentralLength + nameLength + central->two(30);
    return Described{name, {*kind, unpacked}, {begin, *end}};
}

/// Whether they lie one behind the other from the start of the archive to `end`.
bool followEachOther(std::vector<Range> ranges, std::uint64_t end) {
    std::sort(ranges.begin(), ranges.end(),
              [](const Range& a, const Range& b) { return a.begin < b.begin; });
    std::uint64_t at = 0;
    for (const Range& range : ranges) {
        if (range.begin != at) {
            return false;
        }
        at = range.end;
    }
    return at == end;
}

/// For comparison: file systems may take names for the same that differ in case only.
std::string lowerCased(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return lower;
}

/// All paths of the tree, those of folders that are no entries too. Finds one that is there twice,
/// or is a folder and something else, and counts them.
class Paths {
  public:
    /// The path of an entry. False: the archive is to be refused.
    bool add(std::string_view name) {
        for (std::size_t slash = name.find('/'); slash != std::string_view::npos;
             slash = name.find('/', slash + 1)) {
            const std::string_view folder = name.substr(0, slash + 1);
            if (!add(folder, folder.size() == name.size())) {
                return false;
            }
        }
        return name.back() == '/' || add(name, true);
    }

    bool areTooMany() const { return paths_.size() > kMostZipPaths || bytes_ > kMostZipPathBytes; }

    std::set<std::string> impliedFolders() const {
        std::set<std::string> folders;
        for (const auto& [lower, path] : paths_) {
            if (!path.isEntry) {
                folders.emplace(path.spelled);
            }
        }
        return folders;
    }

  private:
    struct Path {
        std::string_view spelled; ///< that of a folder with a slash at the end
        bool isEntry;
    };

    bool add(std::string_view path, bool isEntry) {
        const bool isFolder = path.back() == '/';
        const auto [known, isNew] = paths_.emplace(
            lowerCased(path.substr(0, path.size() - (isFolder ? 1 : 0))), Path{path, isEntry});
        if (isNew) {
            bytes_ += path.size();
            return true;
        }
        if (known->second.spelled != path || (isEntry && known->second.isEntry)) {
            return false;
        }
        known->second.isEntry = known->second.isEntry || isEntry;
        return true;
    }

    std::map<std::string, Path> paths_; ///< by their text in lower case, without a slash at the end
    std::size_t bytes_ = 0;             ///< of the text of all of them
};

} // namespace

Result<ZipIndex, ArchiveFault> readZipIndex(std::string_view archive) {
    if (archive.size() < kEndLength) {
        return Error{ArchiveFault::malformed};
    }
    const std::uint64_t endPlace = archive.size() - kEndLength;
    const auto end = Record::at(archive, endPlace, kEndSignature, kEndLength);
    if (!end) {
        return Error{ArchiveFault::malformed};
    }
    if (endPlace >= kEnd64Length &&
        Record::at(archive, endPlace - kEnd64Length, kEnd64Signature, kEnd64Length)) {
        return Error{ArchiveFault::unsupported};
    }
    constexpr std::size_t kNumbersOfVolumes = 4;
    const std::uint32_t count = end->two(10);
    const std::uint64_t begin = end->four(16);
    if (end->four(kNumbersOfVolumes) != 0 || end->two(8) != count ||
        begin + end->four(12) != endPlace || end->two(20) != 0) {
        return Error{ArchiveFault::malformed};
    }
    if (count > kMostZipPaths) {
        return Error{ArchiveFault::tooLarge};
    }
    ZipIndex index;
    std::vector<Range> ranges;
    Paths paths;
    std::uint64_t unpacked = 0;
    std::uint64_t place = begin;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto entry = readEntry(archive.substr(0, endPlace), place);
        if (!entry) {
            return entry.error();
        }
        if (!paths.add(entry->name)) {
            return Error{ArchiveFault::nameTwice, std::string(entry->name)};
        }
        unpacked += entry->entry.size;
        if (paths.areTooMany() || unpacked > kMostUnpackedBytes) {
            return Error{ArchiveFault::tooLarge};
        }
        ranges.push_back(entry->bytes);
        index.entries.emplace(entry->name, entry->entry);
    }
    if (place != endPlace || !followEachOther(std::move(ranges), begin)) {
        return Error{ArchiveFault::malformed};
    }
    if (unpacked > kRatioFreeBytes && unpacked > kMostZipRatio * archive.size()) {
        return Error{ArchiveFault::tooLarge};
    }
    index.impliedFolders = paths.impliedFolders();
    return index;
}

} // namespace korvel::platform
