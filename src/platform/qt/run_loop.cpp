#include "platform/qt/run_loop.h"

#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QTimer>

namespace korvel::platform {

namespace {

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

/// Coarse, so that the kernel's wake-ups of several timers fall together; Qt keeps the cadence.
class QtTimer final : public Timer {
  public:
    QtTimer(std::chrono::milliseconds interval, RunLoop::Work work) {
        timer_.setTimerType(Qt::CoarseTimer);
        timer_.setInterval(interval);
        timer_.callOnTimeout(&timer_, std::move(work));
        timer_.start();
    }

  private:
    QTimer timer_;
};

} // namespace

QtRunLoop::QtRunLoop() = default;

QtRunLoop::~QtRunLoop() {
    pool_.waitForDone();
}

void QtRunLoop::async(Work work) {
    QMetaObject::invokeMethod(&mainThread_, std::move(work), Qt::QueuedConnection);
}

void QtRunLoop::after(double seconds, Work work) {
    QTimer::singleShot(milliseconds(seconds), &mainThread_, std::move(work));
}

std::unique_ptr<Timer> QtRunLoop::every(double seconds, Work work) {
    return std::make_unique<QtTimer>(milliseconds(seconds), std::move(work));
}

void QtRunLoop::background(Work work) {
    pool_.start(std::move(work));
}

void QtRunLoop::terminate() {
    // Queued, because an exit before the loop has started would be lost; and not quit(), which
    // asks every window for leave first.
    async([] { QCoreApplication::exit(0); });
}

} // namespace korvel::platform
