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

/// Ends in a slash, or is empty where the path is but a name.
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

/// rename(2), but fails with EEXIST where something has the new path.
bool renameToFree(const std::string& from, const std::string& to) {
#ifdef __APPLE__
    return ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0;
#else
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Some file systems (of networks, mostly) do not know the flag. EINVAL is also said of a folder
    // that is to be moved into itself, of which rename() says the same again.
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    if (exists(to)) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
#endif
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

/// Not strerror(): it speaks the language of the locale, and not to users.
std::string inWords(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return "permission denied";
    case ENOSPC:
    case EDQUOT:
        return "the disk is full";
    case EROFS:
        return "the disk is read-only";
    case EEXIST:
    case ENOTEMPTY:
        return "something else is already there";
    case ENOENT:
    case ENOTDIR:
        return "it or the folder that it should go to does not exist";
    case EINVAL:
        return "a folder cannot be moved into itself";
    case ENOTSUP:
        return "it holds something that is no file, folder or link";
    case EBUSY:
        return "it is in use";
    case EIO:
        return "the disk reported an error";
    default:
        return "error " + std::to_string(error);
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

std::optional<std::string> PosixFileManager::move(const std::string& from, const std::string& to) {
    const std::string oldPath = withoutSlashAtEnd(from);
    const std::string newPath = withoutSlashAtEnd(to);
    if (renameToFree(oldPath, newPath) || (errno == EXDEV && moveToOtherVolume(oldPath, newPath))) {
        return std::nullopt;
    }
    const int error = errno;
    return "“" + nameOf(oldPath) + "” couldn’t be moved: " + inWords(error) + ".";
}

bool PosixFileManager::moveToOtherVolume(const std::string& from, const std::string& to) {
    if (exists(to)) {
        errno = EEXIST;
        return false;
    }
    const std::string copy = hiddenBeside(to);
    const auto removeCopyAfterFailure = [&copy] {
        const int error = errno;
        removeTree(copy, {});
        errno = error;
        return false;
    };
    if (!copyTree(from, copy, [this] { done(MoveStep::entryCopied); }) || !renameToFree(copy, to)) {
        return removeCopyAfterFailure();
    }
    flushFolder(to);
    done(MoveStep::inPlace);

    const std::string original = hiddenBeside(from);
    if (!renameToFree(from, original)) {
        const int error = errno;
        // Away from the new path in one step, as it came there.
        const bool away = renameToFree(to, copy);
        removeTree(away ? copy : to, {});
        errno = error;
        return false;
    }
    done(MoveStep::asideFromOld);
    removeTree(original, [this] { done(MoveStep::entryRemoved); });
    return true;
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
