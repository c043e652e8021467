#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/kernel/fuse_volume.h"
#include "platform/posix/child_processes.h"
#include "support/temp_tree.h"

// The korvel-snapshot program itself, as Linux has it.
namespace korvel {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string outputOf(const std::string& executable, const std::vector<std::string>& arguments) {
    using platform::ChildStream;
    const auto result = platform::PosixChildProcesses().run(
        executable, arguments, {ChildStream::capture, ChildStream::capture});
    return result && result->status == 0 ? result->output : "it failed";
}

std::string printed(const std::vector<std::string>& arguments) {
    return outputOf(KORVEL_SNAPSHOT, arguments);
}

TEST(SnapshotOnLinux, ReportAndBarSpeakOfLinuxAndJsonKeepsTheLetter) {
    const std::string report = printed({"--once"});
    EXPECT_THAT(report, HasSubstr(" · Linux is "));
    EXPECT_THAT(report, Not(HasSubstr("macOS")));
    EXPECT_THAT(printed({"--once", "--json"}), HasSubstr(" · macOS is "));
}

TEST(SnapshotOnLinux, ASelfCheckHasHeatMemoryAndTheAgentBesideTools) {
    const std::string output = printed({"--selfcheck"});
    for (const char* part :
         {"thermalState [compare]", "/usr/bin/sensors:", "/sys/class/hwmon/", "memory [compare]",
          "compressedMemory [compare]", "/usr/sbin/zramctl --bytes:", "isLoaded [compare]",
          "/usr/bin/systemctl --user is-active com.oxbrook.warden.agent.service:"}) {
        EXPECT_THAT(output, HasSubstr(part));
    }
}

TEST(SnapshotOnLinux, NothingOfADesktopIsLoaded) {
    const std::string libraries = outputOf("/usr/bin/ldd", {KORVEL_SNAPSHOT});
    EXPECT_THAT(libraries, HasSubstr("libfmt"));
    for (const char* const other : {"Qt", "dbus-1", "wayland", "libcrypto", "archive", "plist"}) {
        EXPECT_THAT(libraries, Not(HasSubstr(other)));
    }
}

TEST(SnapshotOnLinux, ABusThatTakesNoOneInIsNotWaitedFor) {
    const TempTree tree;
    sockaddr_un name{.sun_family = AF_UNIX, .sun_path = {}};
    const std::string place = tree.root() + "/bus";
    ASSERT_LT(place.size(), sizeof name.sun_path);
    place.copy(static_cast<char*>(name.sun_path), place.size());
    const int bus = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(bus, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(::listen(bus, 1), 0);
    const auto start = std::chrono::steady_clock::now();
    const std::string output =
        outputOf("/usr/bin/env", {"DBUS_SESSION_BUS_ADDRESS=unix:path=" + place, KORVEL_SNAPSHOT,
                                  "--once", "--json"});
    EXPECT_LT(std::chrono::steady_clock::now() - start,
              std::chrono::seconds(10)); // the library's: 25
    EXPECT_THAT(output, HasSubstr("\"wardenOn\":false"));
    ::close(bus);
}

TEST(SnapshotOnLinux, WithAHomeThatDoesNotAnswerItReportsTheRestAndEnds) {
    const TempTree tree;
    test::FuseVolume volume(tree.root() + "/mount");
    if (!volume.failure().empty()) {
        GTEST_SKIP() << volume.failure();
    }
    // A leak check at its end would wait for the thread that hangs in the kernel.
    const char* const given = std::getenv("ASAN_OPTIONS");
    const std::string options = std::string(given ? given : "") + ":detect_leaks=0";
    volume.set(test::FuseVolume::Manner::isDeaf);
    const auto start = std::chrono::steady_clock::now();
    const std::string output =
        outputOf("/usr/bin/env", {"HOME=" + volume.home().string(), "ASAN_OPTIONS=" + options,
                                  KORVEL_SNAPSHOT, "--once"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_THAT(output, testing::ContainsRegex("Disk +—  not reported here"));
    EXPECT_THAT(output, Not(HasSubstr("! Disk")));
}

} // namespace
} // namespace korvel
