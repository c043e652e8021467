#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>

#include <QCoreApplication>
#include <QTimer>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/session/single_instance.h"
#include "platform/posix/file_descriptor.h"
#include "platform/status_bar.h"
#include "support/no_threads.h"
#include "support/temp_tree.h"

namespace {
/// What flock(2) fails with in this program; 0: it is the kernel's.
int refusal = 0;
} // namespace

/// In place of the C library's: a file system without locks is hard to come by.
extern "C" int flock(int descriptor, int operation) noexcept {
    if (refusal != 0) {
        errno = refusal;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

// Without a session bus.
namespace korvel::platform {
namespace {

class InstanceLock : public testing::Test {
  protected:
    void SetUp() override { ::setenv("XDG_RUNTIME_DIR", tree_.root().c_str(), 1); }

    /// The lock as another program has it.
    FileDescriptor lockedByAnother() const {
        FileDescriptor file(
            ::open((tree_.root() + "/korvel.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_EQ(::flock(file.get(), LOCK_EX | LOCK_NB), 0);
        return file;
    }
    bool locked() const {
        const FileDescriptor file(
            ::open((tree_.root() + "/korvel.lock").c_str(), O_RDWR | O_CLOEXEC));
        return ::flock(file.get(), LOCK_EX | LOCK_NB) != 0;
    }

    TempTree tree_;
};

TEST_F(InstanceLock, TheFirstHasItAndTheNextDoesNotRun) {
    SingleInstance first([](const ActivationRequest&) {});
    EXPECT_TRUE(first.acquire(Start::ordinary));
    SingleInstance next([](const ActivationRequest&) {});
    EXPECT_FALSE(next.acquire(Start::ordinary));
    EXPECT_TRUE(locked());
}

TEST_F(InstanceLock, OneThatRelaunchesIsWaitedFor) {
    FileDescriptor other = lockedByAnother();
    SingleInstance next([](const ActivationRequest&) {});
    QTimer::singleShot(100, &next, [&other] { other.reset(); });
    EXPECT_TRUE(next.acquire(Start::relaunch));
    EXPECT_TRUE(locked()) << "as long as the program runs";
}

TEST_F(InstanceLock, OneThatRelaunchesIsWaitedForWhereNoThreadCanBeStarted) {
    const NoThreads refused;
    FileDescriptor other = lockedByAnother();
    SingleInstance next([](const ActivationRequest&) {});
    QTimer::singleShot(100, &next, [&other] { other.reset(); });
    EXPECT_TRUE(next.acquire(Start::relaunch));
    EXPECT_TRUE(locked());
}

TEST_F(InstanceLock, OneThatRelaunchesAndDoesNotEndIsWaitedForNoLongerThanThat) {
    const FileDescriptor other = lockedByAnother();
    SingleInstance next([](const ActivationRequest&) {},
                        {.answer = {}, .end = std::chrono::milliseconds(50)});
    EXPECT_FALSE(next.acquire(Start::relaunch));
}

TEST_F(InstanceLock, ARelaunchAfterItsEndWaitsForNobody) {
    SingleInstance next([](const ActivationRequest&) {}, {.answer = {}, .end = {}});
    EXPECT_TRUE(next.acquire(Start::relaunch));
    EXPECT_TRUE(locked());
}

TEST_F(InstanceLock, WhereAFileCannotBeLockedTheProgramRuns) {
    for (const int error : {ENOLCK, EINTR, ENOSYS}) {
        for (const Start start : {Start::ordinary, Start::relaunch}) {
            refusal = error;
            SingleInstance instance([](const ActivationRequest&) {}, {.answer = {}, .end = {}});
            EXPECT_TRUE(instance.acquire(start)) << error;
            refusal = 0;
        }
    }
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
