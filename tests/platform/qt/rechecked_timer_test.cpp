#include "platform/qt/rechecked_timer.h"

#include <chrono>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>

namespace korvel::platform {
namespace {

using namespace std::chrono_literals;

class RecheckedTimerTest : public testing::Test {
  protected:
    std::unique_ptr<RecheckedTimer> timer(double seconds,
                                          std::chrono::milliseconds longestWait = 1ms) {
        return std::make_unique<RecheckedTimer>(
            seconds, [this] { ++runs_; },
            [this] {
                ++asked_;
                return now_;
            },
            longestWait);
    }

    /// Lets the timer ask the clock some times more.
    void letAsk(int times) {
        const int before = asked_;
        bool late = false;
        QTimer watchdog;
        watchdog.callOnTimeout(&watchdog, [&] { late = true; });
        watchdog.start(10s);
        while (asked_ < before + times && !late) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        ASSERT_FALSE(late) << "the clock is not asked";
    }

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    double now_ = 1000; ///< seconds, turned by hand
    int asked_ = 0;
    int runs_ = 0;
};

TEST_F(RecheckedTimerTest, RunsWhenTheClockHasReachedItsEndAndNotBefore) {
    const auto timer = this->timer(3600);
    letAsk(4);
    now_ = 4599.9;
    letAsk(4);
    EXPECT_EQ(runs_, 0);
    now_ = 4600;
    letAsk(1);
    EXPECT_EQ(runs_, 1);
}

TEST_F(RecheckedTimerTest, WhatEndedWhileQtsTimersStoodStillEndsAtTheNextLook) {
    const auto timer = this->timer(3600);
    now_ += 8 * 3600;
    letAsk(1);
    EXPECT_EQ(runs_, 1);
}

TEST_F(RecheckedTimerTest, RunsOnce) {
    const auto timer = this->timer(0);
    letAsk(1);
    EXPECT_EQ(runs_, 1);
    const int asked = asked_;
    QTimer::singleShot(5ms, &application_, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
    EXPECT_EQ(runs_, 1);
    EXPECT_EQ(asked_, asked) << "and the clock is asked no more";
}

TEST_F(RecheckedTimerTest, NeverRunsAtOnce) {
    const auto timer = this->timer(-5);
    EXPECT_EQ(runs_, 0);
    letAsk(1);
    EXPECT_EQ(runs_, 1);
}

TEST_F(RecheckedTimerTest, AnEndIsNotWaitedPast) {
    now_ = 0;
    const auto timer = this->timer(0.001, 3600s);
    QTimer::singleShot(0, &application_, [this] { now_ = 0.001; });
    letAsk(1);
    EXPECT_EQ(runs_, 1);
}

TEST_F(RecheckedTimerTest, TakesAnyWait) {
    const double waits[] = {1e300, std::numeric_limits<double>::infinity()};
    for (const double wait : waits) {
        const auto timer = this->timer(wait);
        now_ += 1e9;
        letAsk(3);
        EXPECT_EQ(runs_, 0) << wait;
    }
}

TEST_F(RecheckedTimerTest, DoesNotRunOnceItIsDropped) {
    auto timer = this->timer(3600);
    now_ = 5000;
    timer.reset();
    const int asked = asked_;
    QTimer::singleShot(5ms, &application_, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
    EXPECT_EQ(runs_, 0);
    EXPECT_EQ(asked_, asked);
}

TEST_F(RecheckedTimerTest, MayDropItselfWhileItRuns) {
    std::unique_ptr<Timer> timer;
    timer = std::make_unique<RecheckedTimer>(
        0,
        [&] {
            timer.reset();
            ++runs_;
            QCoreApplication::exit();
        },
        [] { return 0.0; }, 1ms);
    QCoreApplication::exec();
    EXPECT_EQ(runs_, 1);
}

} // namespace
} // namespace korvel::platform
