#pragma once

#include <chrono>
#include <functional>

#include <QTimer>

#include "platform/run_loop.h"

namespace korvel::platform {

/// Runs `work` once, when `seconds` of a clock have passed, on a turn of the Qt event loop. The
/// clock may go on while the machine sleeps and Qt's own timers stand still: it is asked every
/// `longestWait` at least, so that what ended meanwhile ends that long after the wake-up at most.
class RecheckedTimer final : public Timer {
  public:
    using Clock = std::function<double()>; ///< seconds since some moment

    RecheckedTimer(double seconds, RunLoop::Work work, Clock clock,
                   std::chrono::milliseconds longestWait);

  private:
    void wait();
    void check();

    const Clock clock_;
    const double due_;
    const std::chrono::milliseconds longestWait_;
    RunLoop::Work work_;
    QTimer timer_;
};

} // namespace korvel::platform
