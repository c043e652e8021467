// The readers as an unprivileged user sees the machine, on real mounts of /proc that hide things.

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/metrics.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/posix/system_clock.h"
#include "platform/simulated/agents.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr uid_t kNobody = 54321; ///< runs nothing else: the usual number may, some service
constexpr int kSkipped = 77;

/// Mounts /proc in the tree, for this process alone, and goes on as another user than root. Why it
/// could not; empty when it did.
std::string becomeNobodyBelow(const TempTree& tree, const std::string& options) {
    const std::string folder = tree.root() + "/proc";
    const auto failed = [](const char* what) {
        return fmt::format("{}: {}", what, std::strerror(errno));
    };
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failed("no mounts of its own");
    }
    if (::chmod(tree.root().c_str(), 0755) != 0 || ::mkdir(folder.c_str(), 0755) != 0 ||
        ::mount("proc", folder.c_str(), "proc", 0, options.c_str()) != 0) {
        return failed("no such mount of /proc");
    }
    // Without the last the files of its own process would be root's.
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0 ||
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0) != 0) {
        return failed("no other user");
    }
    return {};
}

/// What `look` says as nobody, of a /proc that is mounted with these options in the folder that it
/// is given; or why it could not be asked, and then `skipped` is set.
std::string asNobody(const std::string& options,
                     const std::function<std::string(const std::string& root)>& look,
                     bool& skipped) {
    const TempTree tree;
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return "no pipe";
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        const std::string failure = becomeNobodyBelow(tree, options);
        const std::string said = failure.empty() ? look(tree.root()) : failure;
        const bool written =
            ::write(ends[1], said.data(), said.size()) == static_cast<ssize_t>(said.size());
        ::_exit(!written ? 1 : failure.empty() ? 0 : kSkipped);
    }
    ::close(ends[1]);
    std::string said;
    std::array<char, 4096> buffer;
    for (ssize_t got = 0; (got = ::read(ends[0], buffer.data(), buffer.size())) > 0;) {
        said.append(buffer.data(), static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == kSkipped))
        << options << ": " << status;
    skipped = WIFEXITED(status) && WEXITSTATUS(status) == kSkipped;
    return said;
}

/// Which processes are listed and read: one's own are the caller and a child of it.
std::string lookAtProcesses(const std::string& root) {
    const pid_t other = ::fork();
    if (other == 0) {
        for (;;) {
            ::pause();
        }
    }
    LinuxProcesses processes(root);
    std::string said;
    int own = 0;
    int others = 0;
    int othersRead = 0;
    for (const std::int32_t pid : processes.listAllPids()) {
        const bool isRead =
            processes.physFootprint(pid).has_value() && !processes.name(pid).empty();
        if (pid == ::getpid() || pid == other) {
            own += isRead && processes.startTime(pid) ? 1 : 0;
        } else {
            ++others;
            othersRead += isRead ? 1 : 0;
        }
    }
    said = fmt::format("own {}, others {}, read {}, hides {}", own, others > 0 ? "listed" : "none",
                       othersRead > 0 ? "some" : "none", processes.hidesOthers() ? "yes" : "no");
    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
    return said;
}

TEST(HiddenProcesses, AreMissingFromTheTableAndThatIsSaid) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can mount /proc and become another user";
    }
    struct Case {
        const char* options;
        const char* expected;
    };
    for (const Case& c : std::vector<Case>{
             {"hidepid=0", "own 2, others listed, read some, hides no"},
             {"hidepid=1", "own 2, others listed, read none, hides yes"},
             {"hidepid=noaccess", "own 2, others listed, read none, hides yes"},
             {"hidepid=2", "own 2, others none, read none, hides yes"},
             {"hidepid=invisible", "own 2, others none, read none, hides yes"},
             {"hidepid=4", "own 2, others none, read none, hides yes"},
             {"hidepid=ptraceable", "own 2, others none, read none, hides yes"},
             {"hidepid=2,gid=54321", "own 2, others listed, read some, hides no"},
             {"subset=pid", "own 2, others listed, read some, hides no"},
             {"hidepid=2,subset=pid", "own 2, others none, read none, hides yes"},
         }) {
        bool skipped = false;
        const std::string said = asNobody(c.options, lookAtProcesses, skipped);
        if (skipped) {
            GTEST_SKIP() << c.options << ": " << said;
        }
        EXPECT_EQ(said, c.expected) << c.options;
    }
}

std::string snapshotBelow(const std::string& root) {
    LinuxMachine machine(root, "/");
    LinuxProcesses processes(root);
    SimulatedAgents agents;
    SystemClock clock;
    Metrics metrics(machine, processes, agents, clock);
    metrics.snapshot();
    const Snapshot s = metrics.snapshot();
    std::string said = fmt::format("total {}, others {}", s.memTotalGB > 0 ? "read" : "none",
                                   s.unreported.otherProcesses ? "hidden" : "seen");
    for (const std::string& alert : s.alerts) {
        said += alert.starts_with("Disk") ? "" : "; " + alert; // the volume is this machine's own
    }
    return said;
}

TEST(HiddenProcesses, LeaveTheOtherReadingsAsTheyAre) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can mount /proc and become another user";
    }
    bool skipped = false;
    const std::string said = asNobody("hidepid=2", snapshotBelow, skipped);
    if (skipped) {
        GTEST_SKIP() << said;
    }
    EXPECT_EQ(said.substr(0, said.find(';')), "total read, others hidden");
}

TEST(HiddenFiles, OfTheMachineLeaveItsReadingsAtTheirDefaultsWithoutAnAlert) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can mount /proc and become another user";
    }
    bool skipped = false;
    const std::string said = asNobody("subset=pid", snapshotBelow, skipped);
    if (skipped) {
        GTEST_SKIP() << said;
    }
    EXPECT_EQ(said, "total none, others seen");
}

} // namespace
} // namespace korvel::platform
