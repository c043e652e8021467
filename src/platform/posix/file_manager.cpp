#include "platform/posix/file_manager.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_tree.h"
#include "platform/posix/files.h"

namespace korvel::platform {

namespace {

std::string withoutSlashAtEnd(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Whether nobody but this user and root can exchange what this user puts into the folder.
bool isSafe(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_uid == ::geteuid() || status.st_uid == 0) &&
           ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (status.st_mode & S_ISVTX) != 0);
}

/// rename(2), but file_exists where something has the new path.
Status<std::errc> renameToFree(const std::string& from, const std::string& to) {
#ifdef __APPLE__
    bool renamed = ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0;
    const bool isUnknown = errno == ENOTSUP || errno == EINVAL;
#else
    bool renamed = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
    const bool isUnknown = errno == EINVAL || errno == ENOSYS;
#endif
    // Some volumes (of networks and of cameras, mostly) do not know the flag. EINVAL is also said
    // of a folder that is to be moved into itself, of which rename() says the same again.
    if (!renamed && isUnknown) {
        if (exists(to)) {
            return Error{std::errc::file_exists, from};
        }
        renamed = ::rename(from.c_str(), to.c_str()) == 0;
    }
    return renamed ? Status<std::errc>() : lastError(from);
}

/// Has the names in the folders of both paths written to the disk.
void flushFoldersOf(const std::string& one, const std::string& other) {
    flushFolder(folderOf(one));
    flushFolder(folderOf(other));
}

} // namespace

std::string PosixFileManager::temporaryDirectory() {
    const char* const variable = std::getenv("TMPDIR");
    for (const char* const candidate : {variable, "/tmp", "/var/tmp"}) {
        if (candidate != nullptr && *candidate == '/') {
            if (std::string path = withoutSlashAtEnd(candidate); path != "/" && isSafe(path)) {
                return path;
            }
        }
    }
    return PosixFiles().homeDirectory() + "/.cache";
}

std::string PosixFileManager::makeWorkFolder(const std::string& name, const std::string& place) {
    std::string path = folderOf(place) + "." + name;
    if (place.empty()) {
        const std::string temporary = temporaryDirectory();
        createDirectory(temporary);
        path = temporary + "/" + name;
    }
    workFolders_.emplace(path, WorkFolder(path));
    return path;
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
    if (moved) {
        flushFoldersOf(newPath, oldPath);
    }
    return moved;
}

bool PosixFileManager::exchange(const std::string& one, const std::string& other) {
#ifdef __APPLE__
    const bool exchanged = ::renamex_np(one.c_str(), other.c_str(), RENAME_SWAP) == 0;
#else
    const bool exchanged =
        ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
#endif
    if (exchanged) {
        flushFoldersOf(one, other);
    }
    return exchanged;
}

Status<std::errc> PosixFileManager::flush(const std::string& folder) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
        return lastError(folder);
    }
#ifdef __APPLE__
    // The drive's own memory last: fsync() leaves it out there.
    Status<std::errc> flushed = flushTree(folder);
    return !flushed || ::fcntl(opened.get(), F_FULLFSYNC) == 0 ? flushed : lastError(folder);
#else
    // All of the volume at once: a file at a time, the disk would be waited for at each.
    return ::syncfs(opened.get()) == 0 ? Status<std::errc>() : lastError(folder);
#endif
}

Status<std::errc> PosixFileManager::recordReplacement(const std::string& workFolder,
                                                      const std::string& place) {
    const auto found = workFolders_.find(workFolder);
    if (found == workFolders_.end()) {
        return Error{std::errc::no_such_file_or_directory, place};
    }
    recorded_ = workFolder;
    createDirectory(withoutSlashAtEnd(folderOf(record_)));
    return found->second.recordReplacement(place, record_);
}

void PosixFileManager::remove(const std::string& path) {
    removeTree(withoutSlashAtEnd(path));
    if (path == recorded_ && !exists(path)) {
        ::unlink(record_.c_str());
    }
    workFolders_.erase(path);
}

std::optional<std::vector<std::string>> PosixFileManager::contents(const std::string& path) {
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return std::nullopt;
    }
    return folderNames(folder.get());
}

} // namespace korvel::platform
