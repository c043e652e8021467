// Preloaded into the program, it sends it a signal at a step of an installation.
//
// KORVEL_SIGNAL is the signal's number, KORVEL_STEP the step:
//     unpack     ahead of the folder that the archive is unpacked into

#include <csignal>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

void passStep(std::string_view step) {
    const char* const wanted = std::getenv("KORVEL_STEP");
    const char* const signal = std::getenv("KORVEL_SIGNAL");
    if (wanted != nullptr && signal != nullptr && wanted == step) {
        ::kill(::getpid(), std::atoi(signal));
    }
}

} // namespace

extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    if (std::string_view(path).ends_with("/out")) {
        passStep("unpack");
    }
    return static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}
