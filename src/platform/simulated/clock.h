#pragma once

#include "platform/clock.h"
#include "platform/simulated/call_log.h"
#include "platform/simulated/machine.h"
#include "platform/simulated/run_loop.h"

namespace korvel::platform {

/// A wall clock that advances with a simulated run loop or, without one, only when it is turned.
class SimulatedClock final : public Clock, public Logging {
  public:
    explicit SimulatedClock(Date start = kSimulatedStart) : base_(start) {}
    SimulatedClock(const SimulatedRunLoop& runLoop, Date start)
        : runLoop_(&runLoop), base_(start) {}

    Date now() override {
        note("now");
        return base_ + elapsed();
    }

    /// Sets the clock, forward or back.
    void set(Date date) { base_ = date - elapsed(); }

    /// Moves the clock by so many seconds, which may be negative.
    void turn(double seconds) { base_ += seconds; }

  private:
    double elapsed() const { return runLoop_ == nullptr ? 0 : runLoop_->elapsed(); }

    const SimulatedRunLoop* runLoop_ = nullptr;
    Date base_;
};

} // namespace korvel::platform
