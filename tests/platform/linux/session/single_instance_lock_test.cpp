#include <chrono>
#include <cstdlib>
#include <string>

#include <QCoreApplication>
#include <QTimer>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "platform/linux/session/single_instance.h"
#include "platform/posix/file_descriptor.h"
#include "platform/status_bar.h"
#include "support/temp_tree.h"

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

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
