#include "platform/simulated/run_loop.h"

#include <algorithm>
#include <vector>

namespace korvel::platform {

struct SimulatedRunLoop::Scheduled {
    Work work;
    std::uint64_t number = 0;
    double madeAt = 0;
    double interval = 0; ///< seconds
    bool repeats = false;
    bool cancelled = false;
    bool countsSleep = false;
    std::uint64_t fired = 0;

    /// Multiplied, not added up, so that rounding errors do not grow with each firing.
    double due() const { return madeAt + static_cast<double>(fired + 1) * interval; }
};

class SimulatedRunLoop::OwnedTimer final : public Timer {
  public:
    explicit OwnedTimer(std::shared_ptr<Scheduled> scheduled) : scheduled_(std::move(scheduled)) {}
    OwnedTimer(const OwnedTimer&) = delete;
    OwnedTimer& operator=(const OwnedTimer&) = delete;
    // The work itself is kept until it is due, because it may be what is running now.
    ~OwnedTimer() override { scheduled_->cancelled = true; }

  private:
    std::shared_ptr<Scheduled> scheduled_;
};

void SimulatedRunLoop::async(Work work) {
    note("async");
    if (spent_.value_or(0) > 0) {
        arrivals_.emplace(now_ + *spent_, std::move(work));
    } else {
        queue_.push_back(std::move(work));
    }
}

void SimulatedRunLoop::after(double seconds, Work work) {
    note("after ", seconds);
    schedule(seconds, false, std::move(work));
}

std::unique_ptr<Timer> SimulatedRunLoop::once(double seconds, Work work) {
    note("once ", seconds);
    auto scheduled = schedule(seconds, false, std::move(work));
    scheduled->countsSleep = true;
    return std::make_unique<OwnedTimer>(std::move(scheduled));
}

void SimulatedRunLoop::sleep(double seconds) {
    std::vector<std::shared_ptr<Scheduled>> nearer;
    std::erase_if(timers_, [&](const auto& entry) {
        const bool counts = entry.second->countsSleep;
        if (counts) {
            nearer.push_back(entry.second);
        }
        return counts;
    });
    for (const std::shared_ptr<Scheduled>& scheduled : nearer) {
        scheduled->madeAt -= seconds;
        enter(scheduled);
    }
}

std::size_t SimulatedRunLoop::waitingOnce() const {
    return static_cast<std::size_t>(
        std::count_if(timers_.begin(), timers_.end(), [](const auto& entry) {
            return entry.second->countsSleep && !entry.second->cancelled;
        }));
}

std::size_t SimulatedRunLoop::waiting() const {
    const auto running = std::count_if(timers_.begin(), timers_.end(),
                                       [](const auto& entry) { return !entry.second->cancelled; });
    return events_.size() + background_.size() + arrivals_.size() + queue_.size() +
           static_cast<std::size_t>(running);
}

void SimulatedRunLoop::enter(std::shared_ptr<Scheduled> scheduled) {
    const std::pair key(scheduled->due(), scheduled->number);
    timers_.emplace(key, std::move(scheduled));
}

std::unique_ptr<Timer> SimulatedRunLoop::every(double seconds, Work work) {
    note("every ", seconds);
    return std::make_unique<OwnedTimer>(schedule(seconds, true, std::move(work)));
}

void SimulatedRunLoop::background(Work work) {
    note("background");
    background_.push_back(std::move(work));
}

void SimulatedRunLoop::spend(double seconds) {
    if (spent_) {
        *spent_ += seconds;
    }
}

void SimulatedRunLoop::runBackground(const Work& work) {
    spent_ = 0;
    work();
    spent_.reset();
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
    enter(scheduled);
    return scheduled;
}

void SimulatedRunLoop::clear() {
    // Destroying the work may queue more of it, so all is taken out first.
    const auto events = std::exchange(events_, {});
    const auto background = std::exchange(background_, {});
    const auto arrivals = std::exchange(arrivals_, {});
    const auto queue = std::exchange(queue_, {});
    const auto timers = std::exchange(timers_, {});
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
    if (!arrivals_.empty()) {
        next = std::min(next, arrivals_.begin()->first);
    }
    if (!timers_.empty()) {
        next = std::min(next, timers_.begin()->first.first);
    }
    if (next > limit || (events_.empty() && arrivals_.empty() && timers_.empty())) {
        return false;
    }
    now_ = std::max(now_, next);
    return turnAtThisInstant();
}

bool SimulatedRunLoop::turnAtThisInstant() {
    while (!arrivals_.empty() && arrivals_.begin()->first <= now_) {
        queue_.push_back(std::move(arrivals_.begin()->second));
        arrivals_.erase(arrivals_.begin());
    }
    Work work;
    if (!events_.empty() && events_.begin()->first <= now_) {
        work = std::move(events_.begin()->second);
        events_.erase(events_.begin());
    } else if (!background_.empty()) {
        work = [this, run = std::move(background_.front())] { runBackground(run); };
        background_.pop_front();
    } else if (!queue_.empty()) {
        work = std::move(queue_.front());
        queue_.pop_front();
    } else if (!timers_.empty() && timers_.begin()->first.first <= now_) {
        work = [this] { fire(); };
    } else {
        return false;
    }
    work();
    work = nullptr; // what it held is gone by the end of its turn
    if (onTurnEnd) {
        onTurnEnd();
    }
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
        enter(scheduled);
    }
    scheduled->work();
}

} // namespace korvel::platform
