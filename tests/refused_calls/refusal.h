#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// Preloaded into a program, this library counts the calls of functions of the C library, and
/// refuses one of them. The environment tells which:
///
///   KORVEL_REFUSE_IN      the program; what it starts is left alone
///   KORVEL_REFUSE_UNDER   folders, with ":" between them
///   KORVEL_REFUSE         "FUNCTION NUMBER ERROR": the call that fails, from 1 on, and the errno;
///   "+"
///                         behind it: so does each later one. An error of -1: half of the bytes are
///                         read or written
///   KORVEL_REFUSE_COUNTS  a file for a record of 32 bytes for each function: its name, the calls
///   and
///                         the refused ones
///   KORVEL_REFUSE_END     "FUNCTION NUMBER": at that call the program is sent SIGTERM
///
/// A call counts when its caller is the program itself, whose libraries are linked into it, and
/// also when a library makes it about a file in these folders: that is done for the program. What
/// else libraries do (their own start, fonts, plugins) says nothing of it. Every caller counts for
/// mmap, poll, ppoll and pthread_create, which the program leaves to libraries.
namespace korvel::test {

inline constexpr std::array<const char*, 53> kRefusable = {
    "access",         "connect",         "eventfd",       "fallocate", "fcntl",
    "fdatasync",      "fdopendir",       "flock",         "fstat",     "fstatat",
    "fsync",          "ftruncate",       "getdents64",    "linkat",    "lseek",
    "lstat",          "mkdir",           "mmap",          "open",      "openat",
    "opendir",        "pidfd_open",      "pipe2",         "poll",      "posix_fallocate",
    "posix_spawn",    "ppoll",           "pread",         "read",      "read of a pipe",
    "readdir",        "readlink",        "readlinkat",    "realpath",  "recv",
    "rename",         "renameat2",       "send",          "setrlimit", "socket",
    "stat",           "statvfs",         "statx",         "symlink",   "syncfs",
    "timerfd_create", "timerfd_settime", "unlink",        "unlinkat",  "waitpid",
    "write",          "fchmodat",        "pthread_create"};

/// The place of a function in the list.
consteval std::size_t indexOf(std::string_view name) {
    for (std::size_t at = 0; at < kRefusable.size(); ++at) {
        if (name == kRefusable[at]) {
            return at;
        }
    }
    throw "no such function";
}

/// The error that this call fails with; 0: it is made. `counts` beside those of the program itself.
int refuse(std::size_t function, const void* caller, bool counts);

/// Whether the file lies in one of the folders.
bool lies(const char* path);

/// Whether the open file does.
bool follows(int file);

/// Remembers that of a descriptor, and gives it.
int follow(int file, bool inFolders);

} // namespace korvel::test
