#include "platform/posix/file_tree.h"

#include <cerrno>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

namespace {

constexpr mode_t kOwnerOnly = 0700;

/// An entry by its folder and its name there, so that a path that is exchanged for a link meanwhile
/// leads nowhere else.
struct Place {
    int folder;
    const char* name;
};

FileDescriptor openFolder(Place place) {
    return FileDescriptor(
        ::openat(place.folder, place.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// A tree so deep that the recursion runs out of descriptors cannot be flushed.
// NOLINTNEXTLINE(misc-no-recursion)
Status<std::errc> flushEntry(Place place, const std::string& path) {
    struct stat status {};
    if (::fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return lastError(path);
    }
    if (!S_ISDIR(status.st_mode) && !S_ISREG(status.st_mode)) {
        return {};
    }
    const FileDescriptor opened(
        ::openat(place.folder, place.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!opened) {
        return lastError(path);
    }
    if (S_ISDIR(status.st_mode)) {
        const auto names = folderNames(opened.get());
        if (!names) {
            return lastError(path);
        }
        for (const std::string& name : *names) {
            std::string inside = path;
            inside.append("/").append(name);
            if (auto flushed = flushEntry({opened.get(), name.c_str()}, inside); !flushed) {
                return flushed;
            }
        }
    }
    return ::fsync(opened.get()) == 0 ? Status<std::errc>() : lastError(path);
}

// NOLINTNEXTLINE(misc-no-recursion)
void removeEntry(Place place) {
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
                removeEntry({folder.get(), name.c_str()});
            }
        }
    }
    ::unlinkat(place.folder, place.name, S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0);
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

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

void flushFolder(const std::string& folder) {
    const FileDescriptor opened(
        ::open((folder + "/.").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) {
        ::fsync(opened.get());
    }
}

Status<std::errc> flushTree(const std::string& folder) {
    return flushEntry({AT_FDCWD, folder.c_str()}, folder);
}

void removeTree(const std::string& path) {
    removeEntry({AT_FDCWD, path.c_str()});
}

} // namespace korvel::platform
