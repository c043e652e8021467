#include "platform/posix/file_tree.h"

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

constexpr mode_t kOwnerOnly = 0700;

/// An entry by its folder and its name there, so that a path that is exchanged for a link meanwhile
/// leads nowhere else.
struct Place {
    int folder;
    const char* name;
};

std::array<timespec, 2> timesOf(const struct stat& status) {
#ifdef __APPLE__
    return {status.st_atimespec, status.st_mtimespec};
#else
    return {status.st_atim, status.st_mtim};
#endif
}

mode_t keptMode(const struct stat& status) {
    return status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO | S_ISVTX);
}

FileDescriptor openFolder(Place place) {
    return FileDescriptor(
        ::openat(place.folder, place.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Mode and times last, since writing changes the times; then to the disk, so that after a loss of
/// power the copy is there when the original is gone.
bool finish(int copy, const struct stat& status) {
    return ::fchmod(copy, keptMode(status)) == 0 && ::futimens(copy, timesOf(status).data()) == 0 &&
           ::fsync(copy) == 0;
}

/// False: errno tells.
bool copyFile(Place from, Place to, const struct stat& status) {
    const FileDescriptor source(
        ::openat(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!source) {
        return false;
    }
    const FileDescriptor copy(
        ::openat(to.folder, to.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly));
    return copy &&
           readPieces(source.get(),
                      [&](std::string_view piece) { return writeAll(copy.get(), piece); }) &&
           finish(copy.get(), status);
}

/// False: errno tells.
bool copyLink(Place from, Place to, const struct stat& status) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlinkat(from.folder, from.name, target.data(), target.size() - 1);
    if (length < 0) {
        return false;
    }
    target[static_cast<std::size_t>(length)] = '\0';
    return ::symlinkat(target.data(), to.folder, to.name) == 0 &&
           ::utimensat(to.folder, to.name, timesOf(status).data(), AT_SYMLINK_NOFOLLOW) == 0;
}

Status<std::errc> copyEntry(Place from, Place to, const AfterEntry& after);

// A tree so deep that the recursion runs out of descriptors is not copied.
// NOLINTNEXTLINE(misc-no-recursion)
Status<std::errc> copyFolder(Place from, Place to, const struct stat& status,
                             const AfterEntry& after) {
    const FileDescriptor source = openFolder(from);
    if (!source) {
        return lastError(from.name);
    }
    const auto names = folderNames(source.get());
    if (!names || ::mkdirat(to.folder, to.name, kOwnerOnly) != 0) {
        return lastError(from.name);
    }
    const FileDescriptor copy = openFolder(to);
    if (!copy) {
        return lastError(from.name);
    }
    for (const std::string& name : *names) {
        if (const auto entry =
                copyEntry({source.get(), name.c_str()}, {copy.get(), name.c_str()}, after);
            !entry) {
            return Error{entry.error().code, from.name + ("/" + entry.error().subject)};
        }
    }
    return finish(copy.get(), status) ? Status<std::errc>() : lastError(from.name);
}

// NOLINTNEXTLINE(misc-no-recursion)
Status<std::errc> copyEntry(Place from, Place to, const AfterEntry& after) {
    struct stat status {};
    if (::fstatat(from.folder, from.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return lastError(from.name);
    }
    Status<std::errc> copied;
    if (S_ISDIR(status.st_mode)) {
        copied = copyFolder(from, to, status, after);
    } else if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        copied = Error{std::errc::not_supported, from.name};
    } else if (!(S_ISREG(status.st_mode) ? copyFile : copyLink)(from, to, status)) {
        copied = lastError(from.name);
    }
    if (copied && after) {
        after();
    }
    return copied;
}

// NOLINTNEXTLINE(misc-no-recursion)
void removeEntry(Place place, const AfterEntry& after) {
    struct stat status {};
    if (::fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        if ((status.st_mode & kOwnerOnly) != kOwnerOnly) {
            ::fchmodat(place.folder, place.name, kOwnerOnly, AT_SYMLINK_NOFOLLOW);
        }
        if (const FileDescriptor folder = openFolder(place)) {
            for (const std::string& name :
                 folderNames(folder.get()).value_or(std::vector<std::string>())) {
                removeEntry({folder.get(), name.c_str()}, after);
            }
        }
    }
    ::unlinkat(place.folder, place.name, S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0);
    if (after) {
        after();
    }
}

} // namespace

std::optional<std::vector<std::string>> folderNames(int folder, std::size_t most) {
    // A description of its own: the listing moves the place in the folder, and closes it.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) {
        return std::nullopt;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(own), &::closedir);
    if (!listing) {
        ::close(own);
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* const entry = ::readdir(listing.get());
        if (entry == nullptr) {
            break;
        }
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            if (names.size() == most) {
                errno = EFBIG;
                return std::nullopt;
            }
            names.push_back(std::move(name));
        }
    }
    if (errno != 0) {
        return std::nullopt;
    }
    return names;
}

Error<std::errc> lastError(std::string path) {
    return {static_cast<std::errc>(errno), std::move(path)};
}

Status<std::errc> copyTree(const std::string& from, const std::string& to,
                           const AfterEntry& after) {
    return copyEntry({AT_FDCWD, from.c_str()}, {AT_FDCWD, to.c_str()}, after);
}

void removeTree(const std::string& path, const AfterEntry& after) {
    removeEntry({AT_FDCWD, path.c_str()}, after);
}

} // namespace korvel::platform
