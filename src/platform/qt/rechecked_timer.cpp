#include "platform/qt/rechecked_timer.h"

#include <algorithm>
#include <utility>

namespace korvel::platform {

RecheckedTimer::RecheckedTimer(double seconds, RunLoop::Work work, Clock clock,
                               std::chrono::milliseconds longestWait)
    : clock_(std::move(clock)), due_(clock_() + seconds), longestWait_(longestWait),
      work_(std::move(work)) {
    timer_.setSingleShot(true);
    timer_.callOnTimeout(&timer_, [this] { check(); });
    wait();
}

void RecheckedTimer::wait() {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    // Compared before it is cast: it may be more than an integer holds.
    const Milliseconds left = std::chrono::duration<double>(due_ - clock_());
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(
        std::clamp(left, Milliseconds(0), Milliseconds(longestWait_))));
}

void RecheckedTimer::check() {
    if (clock_() < due_) {
        wait();
        return;
    }
    const RunLoop::Work due = std::move(work_); // it may destroy this timer
    due();
}

} // namespace korvel::platform
