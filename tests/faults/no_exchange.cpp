// Preloaded into a program, it takes the exchange of two names from every file system, as those
// that do not know it answer.

#include <cerrno>
#include <cstdio>

#include <sys/syscall.h>
#include <unistd.h>

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) {
    if ((flags & RENAME_EXCHANGE) != 0) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}
