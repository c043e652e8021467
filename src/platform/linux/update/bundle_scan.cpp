#include "platform/linux/update/bundle_scan.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/hexadecimal.h"
#include "platform/digest.h"
#include "platform/linux/update/relative_path.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_tree.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

constexpr mode_t kModeBits = 07777;

FileDescriptor openIn(int folder, const char* name, int flags) {
    // Not blocking: the name may by now be that of a pipe.
    return FileDescriptor(
        ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | flags));
}

/// Whether the opened file, which has this path in the bundle, is one to take in.
Status<BundleFault> checkFile(int file, std::string_view path, struct stat& facts) {
    if (::fstat(file, &facts) != 0) {
        return Error{BundleFault::unreadable, std::string(path)};
    }
    if (!S_ISREG(facts.st_mode)) {
        return Error{BundleFault::notAFile, std::string(path)};
    }
    if (facts.st_nlink != 1) { // through the other name it could be written after it was looked at
        return Error{BundleFault::hardLink, std::string(path)};
    }
    return {};
}

class Scan {
  public:
    /// Lists what is in the folder, whose path is given with a slash at the end, or is empty.
    Status<BundleFault> folder(int descriptor, const std::string& prefix) {
        const auto names = folderNames(descriptor, kMostBundleEntries);
        if (!names) {
            return errno == EFBIG ? Error{BundleFault::holdsTooMuch, "."}
                                  : Error{BundleFault::unlistable, prefix + "."};
        }
        for (const std::string& name : *names) {
            if (Status<BundleFault> taken = entry(descriptor, name, prefix + name); !taken) {
                return taken;
            }
        }
        return {};
    }

    BundleTree tree;

  private:
    Status<BundleFault> entry(int parent, const std::string& name, const std::string& path) {
        if (!isPlainRelativePath(path)) {
            return Error{BundleFault::holdsOddName, "."}; // nor is it to be printed
        }
        if (tree.size() == kMostBundleEntries) {
            return Error{BundleFault::holdsTooMuch, "."};
        }
        struct stat facts {};
        if (::fstatat(parent, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
            return Error{BundleFault::unreadable, path};
        }
        if (S_ISLNK(facts.st_mode)) {
            return link(parent, name, path);
        }
        if (S_ISDIR(facts.st_mode)) {
            const FileDescriptor opened = openIn(parent, name.c_str(), O_DIRECTORY);
            if (!opened || ::fstat(opened.get(), &facts) != 0) {
                return Error{BundleFault::unreadable, path};
            }
            BundleEntry& made = tree[path];
            made.kind = BundleEntryKind::folder;
            made.mode = facts.st_mode & kModeBits;
            return folder(opened.get(), path + "/");
        }
        if (!S_ISREG(facts.st_mode)) {
            return Error{BundleFault::notAFile, path};
        }
        if (path == kManifestPath || path == kManifestSignaturePath) {
            return {};
        }
        return file(parent, name, path);
    }

    Status<BundleFault> link(int parent, const std::string& name, const std::string& path) {
        std::vector<char> target(kLongestBundlePath + 1);
        const ssize_t length = ::readlinkat(parent, name.c_str(), target.data(), target.size());
        if (length < 0) {
            return Error{BundleFault::unreadable, path};
        }
        BundleEntry& made = tree[path];
        made.kind = BundleEntryKind::link;
        made.target.assign(target.data(), static_cast<std::size_t>(length));
        return {};
    }

    Status<BundleFault> file(int parent, const std::string& name, const std::string& path) {
        const FileDescriptor opened = openIn(parent, name.c_str(), 0);
        struct stat facts {};
        if (!opened) {
            return Error{BundleFault::unreadable, path};
        }
        if (Status<BundleFault> checked = checkFile(opened.get(), path, facts); !checked) {
            return checked;
        }
        const std::uint64_t most = kMostBundleBytes - bytes_;
        if (static_cast<std::uint64_t>(facts.st_size) > most) {
            return Error{BundleFault::tooLarge, path};
        }
        BundleEntry made;
        made.mode = facts.st_mode & kModeBits;
        RunningSha256 digest;
        const bool whole = readPieces(opened.get(), [&](std::string_view piece) {
            digest.add(piece);
            made.size += piece.size();
            return made.size <= most;
        });
        if (!whole) {
            return Error{BundleFault::unreadable, path};
        }
        bytes_ += made.size;
        made.sha256 = hexadecimal(digest.digest());
        tree[path] = std::move(made);
        return {};
    }

    std::uint64_t bytes_ = 0;
};

} // namespace

Result<BundleTree, BundleFault> scanBundle(const std::string& path) {
    const FileDescriptor root = openIn(AT_FDCWD, path.c_str(), O_DIRECTORY);
    struct stat facts {};
    if (!root || ::fstat(root.get(), &facts) != 0) {
        return Error{BundleFault::notABundle, "."};
    }
    Scan scan;
    BundleEntry& bundle = scan.tree["."];
    bundle.kind = BundleEntryKind::folder;
    bundle.mode = facts.st_mode & kModeBits;
    if (const Status<BundleFault> scanned = scan.folder(root.get(), ""); !scanned) {
        return scanned.error();
    }
    if (const Status<BundleFault> checked = checkTree(scan.tree); !checked) {
        return checked.error();
    }
    return std::move(scan.tree);
}

std::optional<std::string> readInBundle(const std::string& bundle, std::string_view path,
                                        std::size_t most) {
    FileDescriptor folder = openIn(AT_FDCWD, bundle.c_str(), O_DIRECTORY);
    for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
         slash = path.find('/')) {
        if (!folder) {
            return std::nullopt;
        }
        folder = openIn(folder.get(), std::string(path.substr(0, slash)).c_str(), O_DIRECTORY);
        path.remove_prefix(slash + 1);
    }
    if (!folder) {
        return std::nullopt;
    }
    const FileDescriptor file = openIn(folder.get(), std::string(path).c_str(), 0);
    struct stat facts {};
    if (!file || !checkFile(file.get(), path, facts)) {
        return std::nullopt;
    }
    return readAll(file.get(), most);
}

std::string sha256Of(std::string_view bytes) {
    return hexadecimal(SystemDigest::sha256(bytes));
}

} // namespace korvel::platform
