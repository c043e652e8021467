#include "platform/posix/work_folder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "platform/posix/file_tree.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

constexpr const char* kStateFile = "korvel-work";
constexpr std::string_view kPrefix = "korvel-update-";

/// Whether only this program gives a folder this name: the prefix and a UUID in capitals.
bool isWorkName(std::string_view name) {
    constexpr std::string_view kUuid = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";
    if (!name.starts_with(kPrefix) || name.size() != kPrefix.size() + kUuid.size()) {
        return false;
    }
    return std::equal(kUuid.begin(), kUuid.end(), name.begin() + kPrefix.size(),
                      [](char expected, char c) {
                          const bool isDigit = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
                          return expected == 'X' ? isDigit : c == expected;
                      });
}

bool isHiddenWorkName(std::string_view name) {
    return name.starts_with('.') && isWorkName(name.substr(1));
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The path without the last name in it.
std::string parentOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

bool isThere(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Not merely that it cannot be told.
bool isAbsent(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool isWithin(const std::string& path, const std::string& folder) {
    return path.starts_with(folder + "/");
}

/// The folder of an installation that the path lies in; empty: none.
std::string workFolderAround(std::string path) {
    while (!path.empty() && !isHiddenWorkName(nameOf(path))) {
        path = path.find('/') == std::string::npos ? std::string() : parentOf(path);
    }
    return path;
}

std::string targetOf(const std::string& link) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    return length <= 0 || static_cast<std::size_t>(length) == target.size()
               ? std::string()
               : std::string(target.data(), static_cast<std::size_t>(length));
}

/// False: a living process holds it. Where a volume knows no locks, nobody can.
bool lock(const FileDescriptor& state) {
    return ::flock(state.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// Whether the bundle that the folder of an installation held, if any, has its place again.
bool putBack(const std::string& folder, const std::string& place) {
    const std::string old = folder + "/old.app";
    if (place.empty() || isThere(place) || isAbsent(old)) {
        return true;
    }
    if (::rename(old.c_str(), place.c_str()) != 0) {
        return false;
    }
    flushFolder(folderOf(place));
    flushFolder(folder);
    return true;
}

/// Sees to one folder, if it is one of this user's that was left behind.
void recover(const std::string& path, const std::string& runningBundle) {
    const FileDescriptor folder(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::geteuid()) {
        return;
    }
    const FileDescriptor state(
        ::openat(folder.get(), kStateFile, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if ((!state && errno != ENOENT) || (state && !lock(state))) {
        return;
    }
    // What cannot be read may say that the folder holds the only bundle: the next launch may read
    // it.
    const auto place = state ? readAll(state.get(), PATH_MAX) : std::string();
    if (!place) {
        return;
    }
    const bool wasRunning = isWithin(runningBundle, path);
    const bool isPlaced = putBack(path, *place);
    if (isPlaced && (!wasRunning || isAbsent(runningBundle))) {
        removeTree(path);
    }
}

} // namespace

WorkFolder::WorkFolder(std::string path) : path_(std::move(path)) {
    if (::mkdir(path_.c_str(), S_IRWXU) == 0) {
        openState();
    }
}

/// False: errno tells.
bool WorkFolder::openState() {
    state_ = FileDescriptor(::open((path_ + "/" + kStateFile).c_str(),
                                   O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                   S_IRUSR | S_IWUSR));
    return state_ && lock(state_);
}

Status<std::errc> WorkFolder::recordReplacement(const std::string& place,
                                                const std::string& record) {
    // It may be that the disk was full when the folder was made.
    if ((!state_ && !openState()) || !writeAll(state_.get(), place) || ::fsync(state_.get()) != 0) {
        return lastError(place);
    }
    flushFolder(path_);
    flushFolder(folderOf(path_));
    if (record.empty()) {
        return {};
    }
    ::unlink(record.c_str());
    if (::symlink(path_.c_str(), record.c_str()) != 0) {
        return lastError(place);
    }
    flushFolder(folderOf(record));
    return {};
}

void recoverWorkFolders(const WorkPlaces& places) {
    std::vector<std::string> found;
    const std::string recorded = targetOf(places.record);
    if (isHiddenWorkName(nameOf(recorded))) {
        found.push_back(recorded);
    }
    const auto search = [&](const std::string& folder, bool (*isOne)(std::string_view name)) {
        const FileDescriptor opened(
            ::open((folder + "/.").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const auto names = opened ? folderNames(opened.get()) : std::nullopt;
        for (const std::string& name : names.value_or(std::vector<std::string>())) {
            if (isOne(name)) {
                found.push_back(folder);
                found.back().append("/").append(name);
            }
        }
    };
    if (!places.bundle.empty()) {
        const std::string around = workFolderAround(places.bundle);
        search(parentOf(around.empty() ? places.bundle : around), isHiddenWorkName);
    }
    search(places.temporary, isWorkName);
    for (const std::string& folder : found) {
        recover(folder, places.bundle);
    }
    // Where not even what it lay in is there, its volume may be back at the next launch.
    if (!recorded.empty() && isThere(parentOf(recorded)) && !isThere(recorded)) {
        ::unlink(places.record.c_str());
    }
}

} // namespace korvel::platform
