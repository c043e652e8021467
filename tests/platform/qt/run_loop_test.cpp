#include "platform/qt/run_loop.h"

#include <limits>
#include <memory>
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
    const std::thread::id main = std::this_thread::get_id();
    std::thread::id ranOn;
    runLoop_.background([&] {
        EXPECT_NE(std::this_thread::get_id(), main);
        runLoop_.async([&] {
            ranOn = std::this_thread::get_id();
            runLoop_.terminate();
        });
    });
    QCoreApplication::exec();
    EXPECT_EQ(ranOn, main);
}

TEST_F(QtRunLoopTest, TerminateBeforeTheLoopStartsStillEndsIt) {
    runLoop_.terminate();
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(QtRunLoopTest, EndsInTheWayThatItWasGivenAndNotAtOnce) {
    int ended = 0;
    QtRunLoop other([&] {
        ++ended;
        QCoreApplication::exit(3);
    });
    other.terminate();
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(QCoreApplication::exec(), 3);
    EXPECT_EQ(ended, 1);
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

TEST_F(QtRunLoopTest, OnceRunsOnceAndMayDropItsOwnTimer) {
    int runs = 0;
    std::unique_ptr<Timer> timer = runLoop_.once(0.001, [&] {
        ++runs;
        timer.reset();
        runLoop_.after(0.02, [&] { runLoop_.terminate(); });
    });
    QCoreApplication::exec();
    EXPECT_EQ(runs, 1);
}

TEST_F(QtRunLoopTest, OnceDoesNotRunWhenItsTimerIsDropped) {
    bool ran = false;
    std::unique_ptr<Timer> timer = runLoop_.once(0.001, [&] { ran = true; });
    timer.reset();
    runLoop_.after(0.02, [&] { runLoop_.terminate(); });
    QCoreApplication::exec();
    EXPECT_FALSE(ran);
}

TEST_F(QtRunLoopTest, OnceTakesAnyWait) {
    bool far = false;
    const auto endless =
        runLoop_.once(std::numeric_limits<double>::infinity(), [&] { far = true; });
    const auto longest = runLoop_.once(1e300, [&] { far = true; });
    int past = 0;
    const auto negative = runLoop_.once(-1e300, [&] { ++past; });
    const auto zero = runLoop_.once(0, [&] { ++past; });
    runLoop_.after(0.03, [&] { runLoop_.terminate(); });
    QCoreApplication::exec();
    EXPECT_FALSE(far);
    EXPECT_EQ(past, 2);
}

} // namespace
} // namespace korvel::platform
