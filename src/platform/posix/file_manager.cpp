#include "platform/posix/file_manager.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_tree.h"

namespace korvel::platform {

namespace {

std::string withoutSlashAtEnd(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// The part of the path up to its last slash, with it; empty when there is none.
std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// rename(2), but file_exists where something has the new path.
Status<std::errc> renameToFree(const std::string& from, const std::string& to) {
#ifdef __APPLE__
    const bool renamed = ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0;
#else
    bool renamed = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
    // Some file systems (of networks, mostly) do not know the flag. EINVAL is also said of a folder
    // that is to be moved into itself, of which rename() says the same again.
    if (!renamed && (errno == EINVAL || errno == ENOSYS)) {
        if (exists(to)) {
            return Error{std::errc::file_exists, from};
        }
        renamed = ::rename(from.c_str(), to.c_str()) == 0;
    }
#endif
    return renamed ? Status<std::errc>() : lastError(from);
}

/// A path beside this one, in the same folder, that nothing has.
std::string hiddenBeside(const std::string& path) {
    constexpr std::size_t kKeptOfName = 200; // a name may have 255 bytes
    const std::string prefix =
        folderOf(path) + "." + nameOf(path).substr(0, kKeptOfName) + ".korvel-";
    unsigned number = static_cast<unsigned>(::getpid());
    while (exists(prefix + std::to_string(number))) {
        ++number;
    }
    return prefix + std::to_string(number);
}

void flushFolder(const std::string& path) {
    const FileDescriptor folder(
        ::open((folderOf(path) + ".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        ::fsync(folder.get());
    }
}

} // namespace

PosixFileManager::PosixFileManager(AfterStep afterStep) : afterStep_(std::move(afterStep)) {}

void PosixFileManager::done(MoveStep step) const {
    if (afterStep_) {
        afterStep_(step);
    }
}

std::string PosixFileManager::temporaryDirectory() {
    const char* const variable = std::getenv("TMPDIR");
    if (variable != nullptr && *variable == '/') {
        if (std::string path = withoutSlashAtEnd(variable); path != "/") {
            return path;
        }
    }
    return "/tmp";
}

bool PosixFileManager::createDirectory(const std::string& path) {
    for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        ::mkdir(path.substr(0, at).c_str(), S_IRWXU);
    }
    ::mkdir(path.c_str(), S_IRWXU);
    return isFolder(path);
}

Status<std::errc> PosixFileManager::move(const std::string& from, const std::string& to) {
    const std::string oldPath = withoutSlashAtEnd(from);
    const std::string newPath = withoutSlashAtEnd(to);
    Status<std::errc> moved = renameToFree(oldPath, newPath);
    if (!moved && moved.error().code == std::errc::cross_device_link) {
        moved = moveToOtherVolume(oldPath, newPath);
    }
    return moved;
}

Status<std::errc> PosixFileManager::moveToOtherVolume(const std::string& from,
                                                      const std::string& to) {
    if (exists(to)) {
        return Error{std::errc::file_exists, from};
    }
    const std::string copy = hiddenBeside(to);
    Status<std::errc> moved = copyTree(from, copy, [this] { done(MoveStep::entryCopied); });
    if (moved) {
        if (const auto placed = renameToFree(copy, to); !placed) {
            moved = Error{placed.error().code, from};
        }
    }
    if (!moved) {
        removeTree(copy, {});
        return moved;
    }
    flushFolder(to);
    done(MoveStep::inPlace);

    const std::string original = hiddenBeside(from);
    moved = renameToFree(from, original);
    if (!moved) {
        // Moved away from the new path first, so that it is never half there while it is removed.
        removeTree(renameToFree(to, copy) ? copy : to, {});
        return moved;
    }
    done(MoveStep::asideFromOld);
    removeTree(original, [this] { done(MoveStep::entryRemoved); });
    return {};
}

void PosixFileManager::remove(const std::string& path) {
    removeTree(withoutSlashAtEnd(path), {});
}

std::optional<std::vector<std::string>> PosixFileManager::contents(const std::string& path) {
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return std::nullopt;
    }
    return folderNames(folder.get());
}

} // namespace korvel::platform
