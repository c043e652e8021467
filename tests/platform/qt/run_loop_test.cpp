#include "platform/qt/run_loop.h"

#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace korvel::platform {
namespace {

class QtRunLoopTest : public testing::Test {
  protected:
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    QtRunLoop runLoop_;
};

TEST_F(QtRunLoopTest, AsyncNeverRunsAtOnceAndKeepsTheOrder) {
    std::string order;
    runLoop_.async([&] {
        order += 'a';
        runLoop_.async([&] {
            order += 'c';
            runLoop_.terminate();
        });
        order += 'b';
    });
    EXPECT_EQ(order, "");
    QCoreApplication::exec();
    EXPECT_EQ(order, "abc");
}

TEST_F(QtRunLoopTest, AsyncFromAnotherThreadRunsOnTheMainOne) {
    std::thread::id ranOn;
    runLoop_.background([&] {
        EXPECT_NE(std::this_thread::get_id(), std::thread::id());
        runLoop_.async([&] {
            ranOn = std::this_thread::get_id();
            runLoop_.terminate();
        });
    });
    QCoreApplication::exec();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(QtRunLoopTest, TerminateBeforeTheLoopStartsStillEndsIt) {
    runLoop_.terminate();
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(QtRunLoopTest, AfterRunsOnce) {
    int runs = 0;
    runLoop_.after(0, [&] { ++runs; });
    runLoop_.after(0.01, [&] { runLoop_.terminate(); });
    EXPECT_EQ(runs, 0);
    QCoreApplication::exec();
    EXPECT_EQ(runs, 1);
}

TEST_F(QtRunLoopTest, EveryRepeatsUntilItsTimerIsDestroyed) {
    int runs = 0;
    std::unique_ptr<Timer> timer;
    timer = runLoop_.every(0.001, [&] {
        if (++runs == 3) {
            runLoop_.async([&] {
                timer.reset();
                runLoop_.after(0.02, [&] { runLoop_.terminate(); });
            });
        }
    });
    QCoreApplication::exec();
    EXPECT_EQ(runs, 3);
}

TEST_F(QtRunLoopTest, TheLoopIsBusyWhileBackgroundWorkRuns) {
    EXPECT_FALSE(runLoop_.busy());
    runLoop_.background([&] {
        EXPECT_TRUE(runLoop_.busy());
        runLoop_.terminate();
    });
    QCoreApplication::exec();
}

} // namespace
} // namespace korvel::platform
