#include "platform/qt/termination_signals.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace korvel::platform {
namespace {

/// Ends this process: well, if a write beyond the allowed size fails with its reason.
[[noreturn]] void writeTooMuch(const std::string& path) {
    const TerminationSignals taken;
    const rlimit nothing{0, 0};
    ::setrlimit(RLIMIT_FSIZE, &nothing);
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const bool failed = file >= 0 && ::write(file, "x", 1) < 0 && errno == EFBIG;
    std::_Exit(failed ? EXIT_SUCCESS : EXIT_FAILURE);
}

TEST(TerminationSignalsDeathTest, AWriteBeyondTheAllowedSizeFailsAndDoesNotEndTheProcess) {
    const std::string path =
        testing::TempDir() + "korvel-allowed-size-" + std::to_string(::getpid());
    EXPECT_EXIT(writeTooMuch(path), testing::ExitedWithCode(EXIT_SUCCESS), "^$");
    ::unlink(path.c_str());
}

} // namespace
} // namespace korvel::platform
