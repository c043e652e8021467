#include "platform/simulated/clock.h"

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(SimulatedClock, GoesWithItsRunLoop) {
    SimulatedRunLoop loop;
    SimulatedClock clock(loop, 1000);
    loop.advance(2.5);
    EXPECT_EQ(clock.now(), 1002.5);
}

TEST(SimulatedClock, WithoutARunLoopMovesOnlyWhenTurned) {
    SimulatedClock clock(1000);
    EXPECT_EQ(clock.now(), 1000);
    clock.turn(0.5);
    EXPECT_EQ(clock.now(), 1000.5);
}

TEST(SimulatedClock, MayBeSetBackAndThenGoesOn) {
    SimulatedRunLoop loop;
    SimulatedClock clock(loop, 1000);
    loop.advance(10);
    clock.set(500);
    EXPECT_EQ(clock.now(), 500);
    loop.advance(1);
    EXPECT_EQ(clock.now(), 501);
}

} // namespace
} // namespace korvel::platform
