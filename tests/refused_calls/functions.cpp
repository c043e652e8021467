// The functions themselves, and their names for large files, which have the same arguments here.

#include "refused_calls/refusal.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace korvel::test;

namespace {

/// The function of the C library itself.
template <typename Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}
#define REAL(name) static auto* const underlying = real<decltype(::name)>(#name)

bool isRegular(int file) {
    struct stat status {};
    return ::syscall(SYS_newfstatat, file, "", &status, AT_EMPTY_PATH) == 0 &&
           S_ISREG(status.st_mode);
}

constexpr bool kEveryCaller = true;

} // namespace

#define CALLER __builtin_return_address(0)
#define REFUSE(name, result, function, parameters, arguments, counts, failed)                      \
    extern "C" result function parameters {                                                        \
        REAL(function);                                                                            \
        if (refuse(indexOf(#name), CALLER, (counts)) != 0) {                                       \
            return failed;                                                                         \
        }                                                                                          \
        return underlying arguments;                                                               \
    }

// By a path.
REFUSE(access, int, access, (const char* path, int mode) noexcept, (path, mode), lies(path), -1)
REFUSE(fchmodat, int, fchmodat, (int folder, const char* path, mode_t mode, int flags) noexcept,
       (folder, path, mode, flags), lies(path), -1)
REFUSE(fstatat, int, fstatat,
       (int folder, const char* path, struct stat* status, int flags) noexcept,
       (folder, path, status, flags), lies(path), -1)
REFUSE(fstatat, int, fstatat64,
       (int folder, const char* path, struct stat64* status, int flags) noexcept,
       (folder, path, status, flags), lies(path), -1)
REFUSE(linkat, int, linkat,
       (int one, const char* from, int other, const char* to, int flags) noexcept,
       (one, from, other, to, flags), lies(to), -1)
REFUSE(lstat, int, lstat, (const char* path, struct stat* status) noexcept, (path, status),
       lies(path), -1)
REFUSE(lstat, int, lstat64, (const char* path, struct stat64* status) noexcept, (path, status),
       lies(path), -1)
REFUSE(mkdir, int, mkdir, (const char* path, mode_t mode) noexcept, (path, mode), lies(path), -1)
REFUSE(opendir, DIR*, opendir, (const char* path), (path), lies(path), nullptr)
REFUSE(readlink, ssize_t, readlink, (const char* path, char* text, std::size_t size) noexcept,
       (path, text, size), lies(path), -1)
REFUSE(readlinkat, ssize_t, readlinkat,
       (int folder, const char* path, char* text, std::size_t size) noexcept,
       (folder, path, text, size), lies(path), -1)
REFUSE(realpath, char*, realpath, (const char* path, char* found) noexcept, (path, found),
       lies(path), nullptr)
REFUSE(rename, int, rename, (const char* from, const char* to) noexcept, (from, to), lies(to), -1)
REFUSE(renameat2, int, renameat2,
       (int one, const char* from, int other, const char* to, unsigned flags) noexcept,
       (one, from, other, to, flags), lies(to), -1)
REFUSE(stat, int, stat, (const char* path, struct stat* status) noexcept, (path, status),
       lies(path), -1)
REFUSE(stat, int, stat64, (const char* path, struct stat64* status) noexcept, (path, status),
       lies(path), -1)
REFUSE(statvfs, int, statvfs, (const char* path, struct statvfs* status) noexcept, (path, status),
       lies(path), -1)
REFUSE(statx, int, statx,
       (int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept,
       (folder, path, flags, mask, status), lies(path), -1)
REFUSE(symlink, int, symlink, (const char* target, const char* path) noexcept, (target, path),
       lies(path), -1)
REFUSE(unlink, int, unlink, (const char* path) noexcept, (path), lies(path), -1)
REFUSE(unlinkat, int, unlinkat, (int folder, const char* path, int flags) noexcept,
       (folder, path, flags), lies(path), -1)

// By a descriptor.
REFUSE(fallocate, int, fallocate, (int file, int mode, off_t offset, off_t size),
       (file, mode, offset, size), follows(file), -1)
REFUSE(fdatasync, int, fdatasync, (int file), (file), follows(file), -1)
REFUSE(fdopendir, DIR*, fdopendir, (int file), (file), follows(file), nullptr)
REFUSE(flock, int, flock, (int file, int operation) noexcept, (file, operation), follows(file), -1)
REFUSE(fstat, int, fstat, (int file, struct stat* status) noexcept, (file, status), follows(file),
       -1)
REFUSE(fstat, int, fstat64, (int file, struct stat64* status) noexcept, (file, status),
       follows(file), -1)
REFUSE(fsync, int, fsync, (int file), (file), follows(file), -1)
REFUSE(ftruncate, int, ftruncate, (int file, off_t size) noexcept, (file, size), follows(file), -1)
REFUSE(ftruncate, int, ftruncate64, (int file, off64_t size) noexcept, (file, size), follows(file),
       -1)
REFUSE(lseek, off_t, lseek, (int file, off_t offset, int from) noexcept, (file, offset, from),
       follows(file), -1)
REFUSE(lseek, off64_t, lseek64, (int file, off64_t offset, int from) noexcept, (file, offset, from),
       follows(file), -1)
REFUSE(syncfs, int, syncfs, (int file) noexcept, (file), follows(file), -1)

// The program's alone, or everybody's.
REFUSE(connect, int, connect, (int file, const sockaddr* address, socklen_t size),
       (file, address, size), false, -1)
REFUSE(eventfd, int, eventfd, (unsigned value, int flags) noexcept, (value, flags), false, -1)
REFUSE(mmap, void*, mmap,
       (void* at, std::size_t size, int access, int flags, int file, off_t offset) noexcept,
       (at, size, access, flags, file, offset), kEveryCaller, MAP_FAILED)
REFUSE(mmap, void*, mmap64,
       (void* at, std::size_t size, int access, int flags, int file, off64_t offset) noexcept,
       (at, size, access, flags, file, offset), kEveryCaller, MAP_FAILED)
REFUSE(pipe2, int, pipe2, (int* ends, int flags) noexcept, (ends, flags), false, -1)
REFUSE(poll, int, poll, (pollfd * files, nfds_t count, int patience), (files, count, patience),
       kEveryCaller, -1)
REFUSE(ppoll, int, ppoll,
       (pollfd * files, nfds_t count, const timespec* patience, const sigset_t* mask),
       (files, count, patience, mask), kEveryCaller, -1)
REFUSE(posix_spawn, int, posix_spawn,
       (pid_t * child, const char* path, const posix_spawn_file_actions_t* actions,
        const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
       (child, path, actions, attributes, arguments, environment), false, errno)
REFUSE(readdir, dirent*, readdir, (DIR * folder), (folder), follows(::dirfd(folder)), nullptr)
REFUSE(readdir, dirent64*, readdir64, (DIR * folder), (folder), follows(::dirfd(folder)), nullptr)
REFUSE(pthread_create, int, pthread_create,
       (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*),
        void* argument),
       (thread, attributes, start, argument), kEveryCaller, errno)
REFUSE(recv, ssize_t, recv, (int file, void* bytes, std::size_t size, int flags),
       (file, bytes, size, flags), false, -1)
REFUSE(send, ssize_t, send, (int file, const void* bytes, std::size_t size, int flags),
       (file, bytes, size, flags), false, -1)
REFUSE(setrlimit, int, setrlimit, (int kind, const rlimit* limit) noexcept, (kind, limit), false,
       -1)
REFUSE(socket, int, socket, (int family, int type, int protocol) noexcept, (family, type, protocol),
       false, -1)
REFUSE(timerfd_create, int, timerfd_create, (clockid_t clock, int flags) noexcept, (clock, flags),
       false, -1)
REFUSE(timerfd_settime, int, timerfd_settime,
       (int file, int flags, const itimerspec* time, itimerspec* before) noexcept,
       (file, flags, time, before), false, -1)
REFUSE(waitpid, pid_t, waitpid, (pid_t child, int* status, int options), (child, status, options),
       false, -1)

namespace {

template <typename Open, typename... Where>
int opened(std::size_t function, const char* path, int flags, va_list rest, const void* caller,
           Open* underlying, Where... where) {
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    const bool inFolders = lies(path);
    return refuse(function, caller, inFolders) != 0
               ? -1
               : follow(underlying(where..., path, flags, mode), inFolders);
}

/// Half of the bytes where that is asked for.
std::size_t part(std::size_t size, int error) {
    return error < 0 ? (size + 1) / 2 : size;
}

} // namespace

#define OPEN(name, function, parameters, ...)                                                      \
    extern "C" int function parameters {                                                           \
        REAL(function);                                                                            \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        const int file = opened(indexOf(#name), path, flags, rest, CALLER,                         \
                                underlying __VA_OPT__(, ) __VA_ARGS__);                            \
        va_end(rest);                                                                              \
        return file;                                                                               \
    }
OPEN(open, open, (const char* path, int flags, ...))
OPEN(open, open64, (const char* path, int flags, ...))
OPEN(openat, openat, (int folder, const char* path, int flags, ...), folder)
OPEN(openat, openat64, (int folder, const char* path, int flags, ...), folder)

extern "C" int close(int file) {
    REAL(close);
    follow(file, false);
    return underlying(file);
}

extern "C" int fcntl(int file, int command, ...) {
    REAL(fcntl);
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    const bool duplicates =
        command == F_DUPFD || command == F_DUPFD_CLOEXEC; // the rest is not refused
    return duplicates && refuse(indexOf("fcntl"), CALLER, follows(file)) != 0
               ? -1
               : underlying(file, command, argument);
}

extern "C" int posix_fallocate(int file, off_t offset, off_t size) {
    REAL(posix_fallocate);
    const int error = refuse(indexOf("posix_fallocate"), CALLER, follows(file));
    return error != 0 ? error : underlying(file, offset, size);
}

extern "C" ssize_t read(int file, void* bytes, std::size_t size) {
    REAL(read);
    const std::size_t function = isRegular(file) ? indexOf("read") : indexOf("read of a pipe");
    const int error = refuse(function, CALLER, follows(file));
    return error > 0 ? -1 : underlying(file, bytes, part(size, error));
}

#define PREAD(function, offset_type)                                                               \
    extern "C" ssize_t function(int file, void* bytes, std::size_t size, offset_type offset) {     \
        REAL(function);                                                                            \
        const int error = refuse(indexOf("pread"), CALLER, follows(file));                         \
        return error > 0 ? -1 : underlying(file, bytes, part(size, error), offset);                \
    }
PREAD(pread, off_t)
PREAD(pread64, off64_t)

// What is written to a pipe of the program's own is not refused but by a full one.
extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
    REAL(write);
    const int error = isRegular(file) ? refuse(indexOf("write"), CALLER, follows(file)) : 0;
    return error > 0 ? -1 : underlying(file, bytes, part(size, error));
}

extern "C" long syscall(long number, ...) noexcept {
    REAL(syscall);
    va_list rest;
    va_start(rest, number);
    std::array<long, 6> words{};
    for (long& word : words) {
        word = va_arg(rest, long);
    }
    va_end(rest);
    const bool refused =
        (number == SYS_getdents64 && refuse(indexOf("getdents64"), CALLER, false) != 0) ||
        (number == SYS_pidfd_open && refuse(indexOf("pidfd_open"), CALLER, false) != 0);
    return refused ? -1
                   : underlying(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}
