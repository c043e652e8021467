#include "platform/linux/kernel/process_signal.h"

#include <cerrno>
#include <csignal>

#include <sys/syscall.h>
#include <unistd.h>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

namespace {

// The C library's own declarations of these two do not link from C++ in its version 2.36.

int openHandle(std::int32_t pid) {
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

bool sendTo(int handle, int signal) {
    return ::syscall(SYS_pidfd_send_signal, handle, signal, nullptr, 0) == 0;
}

} // namespace

void terminateIf(std::int32_t pid, const std::function<bool()>& isMeant) {
    if (pid <= 0) {
        return; // would mean whole groups
    }
    // The handle comes first: if the process that is meant has the pid afterwards, it had it
    // before.
    const FileDescriptor handle(openHandle(pid));
    if ((!handle && errno == ESRCH) || !isMeant()) {
        return;
    }
    if (handle && (sendTo(handle.get(), SIGTERM) || errno == ESRCH)) {
        return;
    }
    ::kill(pid, SIGTERM);
}

} // namespace korvel::platform
