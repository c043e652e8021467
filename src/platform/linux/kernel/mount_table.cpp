#include "platform/linux/kernel/mount_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

template <std::size_t count>
bool isOneOf(std::string_view word, const std::array<std::string_view, count>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// A file system on a block device asks nobody, with a few exceptions; one without (major 0) asks
/// somebody, unless it is known not to. In doubt it is taken for one that asks: that costs a
/// thread, the other mistake the program's response.
bool answersAlone(std::string_view type, std::string_view device) {
    // A program's, and those of a cluster, which wait for its other machines.
    constexpr std::array<std::string_view, 3> kAskOthers = {"fuseblk", "gfs2", "ocfs2"};
    constexpr std::array<std::string_view, 12> kAskNobody = {
        "aufs",    "bcachefs", "btrfs",  "devtmpfs", "ecryptfs", "erofs",
        "overlay", "ramfs",    "rootfs", "tmpfs",    "ubifs",    "zfs"};
    if (device.starts_with("0:")) {
        return isOneOf(type, kAskNobody);
    }
    return !isOneOf(type, kAskOthers);
}

/// The kernel writes blanks, newlines and backslashes in a path as a backslash and three octal
/// digits.
std::string unescaped(std::string_view text) {
    constexpr std::size_t kDigits = 3;
    constexpr int kOctal = 8;
    std::string path;
    while (!text.empty()) {
        const auto byte = text.front() == '\\'
                              ? wholeNumber<unsigned char>(text.substr(1, kDigits), kOctal)
                              : std::nullopt;
        path += byte ? static_cast<char>(*byte) : text.front();
        text.remove_prefix(byte ? std::min(kDigits + 1, text.size()) : 1);
    }
    return path;
}

/// "36 35 98:0 /root /point options optional... - type source options"
std::optional<Mount> parseMount(std::string_view line) {
    constexpr std::string_view kSeparator = " - ";
    const auto id = wholeNumber<int>(takeWord(line));
    const auto parent = wholeNumber<int>(takeWord(line));
    const std::string_view device = takeWord(line);
    takeWord(line); // the part of the file system that is mounted
    const std::string_view point = takeWord(line);
    const std::size_t separator = line.find(kSeparator);
    if (!id || !parent || !point.starts_with('/') || separator == std::string_view::npos) {
        return std::nullopt;
    }
    line.remove_prefix(separator + kSeparator.size());
    return Mount{*id, *parent, std::string(device), unescaped(point),
                 answersAlone(takeWord(line), device)};
}

/// What a link points to; nothing for what is no link, or not there.
std::optional<std::string> linkTarget(const std::string& path) {
    std::error_code error;
    std::string target = std::filesystem::read_symlink(path, error).string();
    return error || target.empty() ? std::nullopt : std::optional(std::move(target));
}

} // namespace

MountTable::MountTable(std::string_view mountinfo) {
    while (const std::optional<std::string_view> line = takeLine(mountinfo)) {
        if (std::optional<Mount> mount = parseMount(*line)) {
            mounts_.push_back(std::move(*mount));
        }
    }
}

const Mount* MountTable::topmost(const Mount* under, std::string_view point) const {
    // Each covers the one before it, so that there are no more steps than mounts, whatever a table
    // says.
    for (std::size_t step = 0; step < mounts_.size(); ++step) {
        const auto over = std::find_if(mounts_.begin(), mounts_.end(), [&](const Mount& mount) {
            return mount.parent == under->id && mount.id != under->id && mount.point == point;
        });
        if (over == mounts_.end()) {
            break;
        }
        under = &*over;
    }
    return under;
}

const Mount* MountTable::root() const {
    // The first of those on "/" lies on a mount that is not listed, or on itself.
    const auto lowest = std::find_if(mounts_.begin(), mounts_.end(), [this](const Mount& mount) {
        return mount.point == "/" &&
               std::none_of(mounts_.begin(), mounts_.end(), [&](const Mount& other) {
                   return other.id == mount.parent && other.id != mount.id;
               });
    });
    return lowest == mounts_.end() ? nullptr : topmost(&*lowest, "/");
}

const Mount* MountTable::holding(std::string_view path) const {
    struct Folder {
        std::size_t length = 0; ///< of its path
        const Mount* mount = nullptr;
    };
    constexpr int kMostLinks = 40; // as the kernel follows
    const Mount* const root = this->root();
    const Mount* mount = root;
    std::vector<Folder> above;
    std::string here; // the way so far, without links; "" is the root
    std::string rest(path);
    for (int links = 0; mount != nullptr && mount->answersAlone && links <= kMostLinks;) {
        const std::size_t start = std::min(rest.find_first_not_of('/'), rest.size());
        const std::size_t end = std::min(rest.find('/', start), rest.size());
        const std::string name = rest.substr(start, end - start);
        rest.erase(0, end);
        if (name.empty()) {
            break;
        }
        if (name == "." || (name == ".." && above.empty())) {
            continue;
        }
        if (name == "..") {
            here.resize(above.back().length);
            mount = above.back().mount;
            above.pop_back();
            continue;
        }
        const Folder from{here.size(), mount};
        here += '/' + name;
        mount = topmost(mount, here);
        // A folder that is covered by a mount is no link.
        const auto target = mount == from.mount ? linkTarget(here) : std::nullopt;
        if (!target) {
            above.push_back(from);
            continue;
        }
        ++links;
        rest.insert(0, *target);
        here.resize(from.length);
        if (target->front() == '/') {
            here.clear();
            above.clear();
            mount = root;
        }
    }
    return mount;
}

} // namespace korvel::platform
