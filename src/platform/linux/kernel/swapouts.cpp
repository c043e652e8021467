#include "platform/linux/kernel/swapouts.h"

#include <algorithm>
#include <utility>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

// No machine writes so much; a nonsensical counter must not fill the sum.
constexpr std::uint64_t kMostWritten = std::uint64_t{1} << 53;

std::uint64_t inBytes(std::uint64_t number, std::uint64_t unit) {
    return std::min(number, kMostWritten / unit) * unit;
}

bool isZram(std::string_view name) {
    constexpr std::string_view kPrefix = "zram";
    return name.size() > kPrefix.size() && name.substr(0, kPrefix.size()) == kPrefix &&
           name.find_first_not_of("0123456789", kPrefix.size()) == std::string_view::npos;
}

/// What a path of /proc/swaps names. Blanks in it are written as "\040".
std::string_view fileName(std::string_view path) {
    constexpr std::string_view kDeleted = "\\040(deleted)";
    if (path.ends_with(kDeleted)) {
        path.remove_suffix(kDeleted.size());
    }
    return path.substr(path.rfind('/') + 1);
}

/// Size less use, of the rest of an area's line; both are in KiB there.
std::uint64_t freeBytes(std::string_view sizes) {
    constexpr std::uint64_t kUnit = 1024;
    const auto size = wholeNumber<std::uint64_t>(takeWord(sizes));
    const auto used = wholeNumber<std::uint64_t>(takeWord(sizes));
    return size && used ? inBytes(*size - std::min(*used, *size), kUnit) : 0;
}

/// Bytes since `before`, which becomes `now`; nullopt where they cannot be told.
std::optional<std::uint64_t> advance(std::optional<std::uint64_t>& before,
                                     std::optional<std::uint64_t> now) {
    const auto last = std::exchange(before, now);
    return last && now && *now >= *last ? std::optional(*now - *last) : std::nullopt;
}

} // namespace

std::optional<SwapAreas> parseSwapAreas(std::string_view text) {
    std::optional<std::string_view> line = takeLine(text);
    if (!line || takeWord(*line) != "Filename") {
        return std::nullopt;
    }
    SwapAreas areas;
    while ((line = takeLine(text))) {
        const std::string_view name = fileName(takeWord(*line));
        const std::string_view kind = takeWord(*line);
        if (kind != "partition" && kind != "file") {
            return std::nullopt;
        }
        if (kind == "partition" && isZram(name)) {
            areas.zrams.emplace_back(name);
            areas.zramFree += freeBytes(*line);
        } else {
            areas.others = true;
        }
    }
    return areas;
}

std::optional<std::uint64_t> parseBytesWritten(std::string_view text) {
    constexpr int kSectorsWritten = 7;
    constexpr std::uint64_t kSector = 512;
    const auto sectors = numberAt(text, kSectorsWritten);
    return sectors ? std::optional(inBytes(*sectors, kSector)) : std::nullopt;
}

std::optional<std::uint64_t> parseBackingBytes(std::string_view text) {
    constexpr int kWrites = 3;
    constexpr std::uint64_t kUnit = 4096;
    const auto writes = numberAt(text, kWrites);
    return writes ? std::optional(inBytes(*writes, kUnit)) : std::nullopt;
}

SwapoutCounter::SwapoutCounter(FileCalls& calls, const std::string& root, const ZramReader& zrams)
    : calls_(calls), path_(root + "sys/block/"), allZrams_(zrams),
      swapsFile_(calls, root + "proc/swaps", HandedOver::inPieces) {}

std::uint64_t SwapoutCounter::count(std::optional<std::uint64_t> pswpout, std::uint64_t pageSize) {
    if (!pswpout || pswpout == pswpout_) {
        if (!pswpout && countsFromBoot_) {
            countsFromBoot_ = false;
            pswpout_.reset();
        }
        lookedJustNow_ = false;
        return bytes_ / kPage;
    }
    const Written written = look();
    const std::optional<std::uint64_t> pages = advance(pswpout_, pswpout);
    if (pages && written.toZram) {
        // zram is looked at after pswpout was read. What it wrote in between pswpout holds by the
        // next look only, so there it is taken off once more; it is no more than zram wrote
        // since the look before this one.
        const std::uint64_t paged = inBytes(*pages, pageSize);
        const std::uint64_t compressed = ahead_ + *written.toZram;
        const std::uint64_t both = std::min(paged, compressed);
        ahead_ = std::min(compressed - both, *written.toZram);
        bytes_ += written.toOthers ? paged - both : 0;
    } else {
        ahead_ = 0;
    }
    // A device may write old pages to its disk while nothing is paged out. What it wrote since a
    // look of some time ago was not written just now.
    bytes_ += lookedJustNow_ ? written.behindZram : 0;
    lookedJustNow_ = true;
    countsFromBoot_ = false;
    return bytes_ / kPage;
}

SwapoutCounter::Written SwapoutCounter::look() {
    const std::optional<std::string_view> text = swapsFile_.read(buffer_);
    std::optional<SwapAreas> areas;
    if (text) {
        areas = parseSwapAreas(*text);
    }
    if (!areas) {
        areas = SwapAreas{.zrams = allZrams_.names(), .others = true};
    }
    std::erase_if(zrams_, [&](const auto& known) {
        return std::find(areas->zrams.begin(), areas->zrams.end(), known.first) ==
               areas->zrams.end();
    });
    const auto read = [this](KeptFile& file, auto parse) {
        const std::optional<std::string_view> content = file.read(buffer_);
        return content ? parse(*content) : std::nullopt;
    };
    Written written{.toOthers = areas->others};
    for (const std::string& name : areas->zrams) {
        Zram& zram = zramOf(name);
        // Where there is nothing but zram, none of it goes to a disk, whatever the devices say.
        const auto now = areas->others ? read(zram.stat, parseBytesWritten) : std::nullopt;
        if (!now && countsFromBoot_) {
            zram.written.reset();
        } else if (now || zram.written) {
            const auto bytes = advance(zram.written, now);
            written.toZram =
                written.toZram && bytes ? std::optional(*written.toZram + *bytes) : std::nullopt;
        }
        written.behindZram +=
            advance(zram.backing, read(zram.backingStat, parseBackingBytes)).value_or(0);
    }
    return written;
}

SwapoutCounter::Zram& SwapoutCounter::zramOf(const std::string& name) {
    const auto known = zrams_.find(name);
    if (known != zrams_.end()) {
        return known->second;
    }
    const std::string folder = path_ + name;
    const auto start = countsFromBoot_ ? std::optional<std::uint64_t>(0) : std::nullopt;
    return zrams_
        .emplace(name, Zram{.stat = KeptFile(calls_, folder + "/stat"),
                            .backingStat = KeptFile(calls_, folder + "/bd_stat"),
                            .written = start,
                            .backing = start})
        .first->second;
}

} // namespace korvel::platform
