#include "platform/simulated/run_loop.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using testing::ElementsAre;

class SimulatedRunLoopTest : public testing::Test {
  protected:
    RunLoop::Work say(std::string word) {
        return [this, word] { said.push_back(word); };
    }

    RunLoop::Work noteTime() {
        return [this] { times.push_back(loop.elapsed()); };
    }

    SimulatedRunLoop loop;
    std::vector<std::string> said;
    std::vector<double> times;
};

TEST_F(SimulatedRunLoopTest, AsyncRunsOnALaterTurnInTheOrderOfTheCalls) {
    loop.async(say("first"));
    loop.async(say("second"));
    EXPECT_TRUE(said.empty());
    loop.advance(0);
    EXPECT_THAT(said, ElementsAre("first", "second"));
}

TEST_F(SimulatedRunLoopTest, AsyncFromWithinWorkRunsAfterWhatWasQueuedBefore) {
    loop.async([&] {
        loop.async(say("inner"));
        said.push_back("outer");
    });
    loop.async(say("next"));
    loop.advance(0);
    EXPECT_THAT(said, ElementsAre("outer", "next", "inner"));
}

TEST_F(SimulatedRunLoopTest, AtOneInstantEventsThenBackgroundThenQueueThenTimers) {
    const auto timer = loop.every(5, say("every"));
    loop.after(5, say("after"));
    loop.event(5, [&] {
        loop.async(say("queued"));
        loop.background(say("background"));
        said.push_back("event");
    });
    loop.event(5, say("event of the same time"));
    loop.advance(5);
    EXPECT_THAT(said, ElementsAre("event", "event of the same time", "background", "queued",
                                  "every", "after"));
}

TEST_F(SimulatedRunLoopTest, WorkQueuedByATimerRunsBeforeTheNextTimerOfThatInstant) {
    loop.after(1, [&] { loop.async(say("queued")); });
    loop.after(1, say("second timer"));
    loop.advance(1);
    EXPECT_THAT(said, ElementsAre("queued", "second timer"));
}

TEST_F(SimulatedRunLoopTest, TimersOfOneInstantFireInTheOrderInWhichTheyWereMade) {
    const auto first = loop.every(2, say("first"));
    const auto second = loop.every(4, say("second"));
    loop.advance(4);
    EXPECT_THAT(said, ElementsAre("first", "first", "second"));
}

TEST_F(SimulatedRunLoopTest, RepeatingTimesAreExactMultiplesWithoutDrift) {
    const auto timer = loop.every(0.1, noteTime());
    loop.advance(1000);
    ASSERT_EQ(times.size(), 10000U);
    for (std::size_t i = 0; i < times.size(); ++i) {
        ASSERT_EQ(times[i], static_cast<double>(i + 1) * 0.1);
    }
}

TEST_F(SimulatedRunLoopTest, RepeatingTimesCountFromTheCall) {
    loop.advance(0.5);
    const auto timer = loop.every(5, noteTime());
    loop.advance(11);
    EXPECT_THAT(times, ElementsAre(5.5, 10.5));
}

TEST_F(SimulatedRunLoopTest, ADestroyedTimerNeverFires) {
    auto timer = loop.every(1, say("tick"));
    loop.advance(1);
    timer.reset();
    loop.advance(10);
    EXPECT_THAT(said, ElementsAre("tick"));
}

TEST_F(SimulatedRunLoopTest, ATimerMayBeDestroyedByItsOwnWork) {
    std::unique_ptr<Timer> timer;
    const std::string word = "a word long enough to need memory of its own";
    timer = loop.every(1, [&timer, word, this] {
        timer.reset();
        said.push_back(word);
    });
    loop.advance(3);
    EXPECT_THAT(said, ElementsAre(word));
}

TEST_F(SimulatedRunLoopTest, AfterFiresOnce) {
    loop.after(1, noteTime());
    loop.advance(10);
    EXPECT_THAT(times, ElementsAre(1.0));
}

TEST_F(SimulatedRunLoopTest, BackgroundWorkStartsOnTheNextTurnNotWithinTheCall) {
    loop.async([&] {
        loop.background(say("background"));
        said.push_back("caller");
    });
    loop.advance(0);
    EXPECT_THAT(said, ElementsAre("caller", "background"));
}

TEST_F(SimulatedRunLoopTest, TerminateEndsTheLoopAfterTheCurrentTurn) {
    loop.event(1, [&] {
        loop.async(say("queued"));
        loop.terminate();
        said.push_back("rest of the turn");
    });
    loop.event(1, say("second event"));
    const auto timer = loop.every(1, say("timer"));
    loop.run();
    EXPECT_TRUE(loop.terminated());
    EXPECT_THAT(said, ElementsAre("rest of the turn"));
    EXPECT_EQ(loop.elapsed(), 1);
}

TEST_F(SimulatedRunLoopTest, RunReturnsWhenNothingIsLeft) {
    loop.after(3, say("last"));
    loop.run();
    EXPECT_THAT(said, ElementsAre("last"));
    EXPECT_FALSE(loop.terminated());
}

TEST_F(SimulatedRunLoopTest, AdvanceRunsWhatIsDueAtItsEndAndNothingLater) {
    loop.after(2, say("at the end"));
    loop.after(2.000001, say("later"));
    loop.advance(2);
    EXPECT_THAT(said, ElementsAre("at the end"));
    EXPECT_EQ(loop.elapsed(), 2);
}

TEST(SimulatedRunLoop, TellsAfterEachTurnThatRanSomething) {
    SimulatedRunLoop loop;
    std::string order;
    loop.onTurnEnd = [&] { order += "."; };
    loop.event(1, [&] { order += "e"; });
    loop.background([&] { order += "b"; });
    loop.async([&] { order += "q"; });
    loop.after(1, [&] { order += "t"; });
    loop.advance(5);
    EXPECT_EQ(order, "b.q.e.t.");
}

TEST(SimulatedSleep, BringsOnlyWhatWaitsOnceNearer) {
    SimulatedRunLoop loop;
    std::string order;
    const auto once = loop.once(100, [&] { order += 'o'; });
    const auto every = loop.every(100, [&] { order += 'e'; });
    loop.after(100, [&] { order += 'a'; });
    EXPECT_EQ(loop.waitingOnce(), 1U);
    loop.sleep(98);
    loop.advance(1);
    EXPECT_EQ(order, "");
    loop.advance(1);
    EXPECT_EQ(order, "o");
    EXPECT_EQ(loop.waitingOnce(), 0U);
    loop.advance(98);
    EXPECT_EQ(order, "oea");
}

TEST(SimulatedSleep, WhatEndedMeanwhileIsDueAtTheWakeUp) {
    SimulatedRunLoop loop;
    bool ran = false;
    const auto once = loop.once(100, [&] { ran = true; });
    loop.sleep(5000);
    loop.advance(0);
    EXPECT_TRUE(ran);
    EXPECT_EQ(loop.elapsed(), 0);
}

TEST(SimulatedBackground, WhatItQueuesArrivesAfterTheTimeItSpent) {
    SimulatedRunLoop loop;
    std::string order;
    const auto timer = loop.once(2.5, [&] { order += 't'; });
    loop.background([&] {
        order += 'b';
        loop.spend(2.5);
        loop.async([&] { order += 'q'; });
    });
    loop.advance(2);
    EXPECT_EQ(order, "b");
    loop.advance(0.5);
    EXPECT_EQ(order, "bqt");
}

} // namespace
} // namespace korvel::platform
