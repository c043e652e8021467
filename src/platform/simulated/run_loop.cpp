#include "platform/simulated/run_loop.h"

#include <algorithm>

#include <fmt/format.h>

namespace korvel::platform {

struct SimulatedRunLoop::Scheduled {
    Work work;
    std::uint64_t number = 0;
    double madeAt = 0;
    double interval = 0; ///< seconds
    bool repeats = false;
    bool cancelled = false;
    std::uint64_t fired = 0;

    /// Multiplied, not added up: a tenth of a second stays one after a day.
    double due() const { return madeAt + static_cast<double>(fired + 1) * interval; }
};

class SimulatedRunLoop::OwnedTimer final : public Timer {
  public:
    explicit OwnedTimer(std::shared_ptr<Scheduled> scheduled) : scheduled_(std::move(scheduled)) {}
    OwnedTimer(const OwnedTimer&) = delete;
    OwnedTimer& operator=(const OwnedTimer&) = delete;
    // The work itself stays until it is due: it may be what is running now.
    ~OwnedTimer() override { scheduled_->cancelled = true; }

  private:
    std::shared_ptr<Scheduled> scheduled_;
};

void SimulatedRunLoop::async(Work work) {
    queue_.push_back(std::move(work));
}

void SimulatedRunLoop::after(double seconds, Work work) {
    note(fmt::format("after {}", seconds));
    schedule(seconds, false, std::move(work));
}

std::unique_ptr<Timer> SimulatedRunLoop::every(double seconds, Work work) {
    note(fmt::format("every {}", seconds));
    return std::make_unique<OwnedTimer>(schedule(seconds, true, std::move(work)));
}

void SimulatedRunLoop::background(Work work) {
    background_.push_back(std::move(work));
}

void SimulatedRunLoop::terminate() {
    note("terminate");
    terminated_ = true;
}

void SimulatedRunLoop::event(double elapsed, Work work) {
    events_.emplace(elapsed, std::move(work));
}

std::shared_ptr<SimulatedRunLoop::Scheduled> SimulatedRunLoop::schedule(double seconds,
                                                                        bool repeats, Work work) {
    auto scheduled = std::make_shared<Scheduled>();
    scheduled->work = std::move(work);
    scheduled->number = made_++;
    scheduled->madeAt = now_;
    scheduled->interval = seconds;
    scheduled->repeats = repeats;
    timers_.emplace(std::pair(scheduled->due(), scheduled->number), scheduled);
    return scheduled;
}

void SimulatedRunLoop::run() {
    while (!terminated_ && turn()) {
    }
}

void SimulatedRunLoop::advance(double seconds) {
    const double end = now_ + seconds;
    while (!terminated_ && turn(end)) {
    }
    if (!terminated_) {
        now_ = end;
    }
}

bool SimulatedRunLoop::turn(double limit) {
    if (turnAtThisInstant()) {
        return true;
    }
    double next = std::numeric_limits<double>::infinity();
    if (!events_.empty()) {
        next = events_.begin()->first;
    }
    if (!timers_.empty()) {
        next = std::min(next, timers_.begin()->first.first);
    }
    if (next > limit || (events_.empty() && timers_.empty())) {
        return false;
    }
    now_ = std::max(now_, next);
    return turnAtThisInstant();
}

bool SimulatedRunLoop::turnAtThisInstant() {
    Work work;
    if (!events_.empty() && events_.begin()->first <= now_) {
        work = std::move(events_.begin()->second);
        events_.erase(events_.begin());
    } else if (!background_.empty()) {
        work = std::move(background_.front());
        background_.pop_front();
    } else if (!queue_.empty()) {
        work = std::move(queue_.front());
        queue_.pop_front();
    } else if (!timers_.empty() && timers_.begin()->first.first <= now_) {
        fire();
        return true;
    } else {
        return false;
    }
    work();
    return true;
}

void SimulatedRunLoop::fire() {
    const std::shared_ptr<Scheduled> scheduled = std::move(timers_.begin()->second);
    timers_.erase(timers_.begin());
    if (scheduled->cancelled) {
        return;
    }
    ++scheduled->fired;
    if (scheduled->repeats) {
        timers_.emplace(std::pair(scheduled->due(), scheduled->number), scheduled);
    }
    scheduled->work();
}

} // namespace korvel::platform
