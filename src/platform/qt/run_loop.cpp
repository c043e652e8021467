#include "platform/qt/run_loop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <utility>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#ifdef __linux__
#include <sys/timerfd.h>

#include "platform/posix/file_descriptor.h"
#else
#include <pthread/qos.h>

#include "platform/qt/rechecked_timer.h"
#endif

namespace korvel::platform {

namespace {

std::chrono::milliseconds timerMilliseconds(double seconds) {
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

#ifdef __linux__

/// Counts the time that the machine sleeps, which Qt's own timers leave out: what ended meanwhile
/// ends at the wake-up.
class OneShotTimer final : public Timer {
  public:
    OneShotTimer(double seconds, RunLoop::Work work)
        : descriptor_(::timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC)),
          notifier_(descriptor_.get(), QSocketNotifier::Read) {
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                         [this, due = std::move(work)] {
                             notifier_.setEnabled(false);
                             // On a turn of its own, for it may destroy this timer.
                             QMetaObject::invokeMethod(&turn_, due, Qt::QueuedConnection);
                         });
        constexpr double kLongest =
            100 * 365.25 * 86400; // seconds; the kernel's end is at 292 years
        constexpr double kNanosecondsPerSecond = 1e9;
        const double wait = std::clamp(seconds, 1 / kNanosecondsPerSecond, kLongest);
        itimerspec time{};
        time.it_value.tv_sec = static_cast<std::time_t>(wait);
        time.it_value.tv_nsec =
            static_cast<long>((wait - std::floor(wait)) * kNanosecondsPerSecond);
        ::timerfd_settime(descriptor_.get(), 0, &time, nullptr);
    }

  private:
    FileDescriptor descriptor_;
    QSocketNotifier notifier_;
    QObject turn_;
};

std::unique_ptr<Timer> makeOneShot(double seconds, RunLoop::Work work) {
    return std::make_unique<OneShotTimer>(seconds, std::move(work));
}

/// A new thread has the priority of the one that started it.
void raisePriority() {}

#else

/// Seconds; this system's clock goes on while the machine sleeps.
double continuousTime() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return std::chrono::duration<double>(std::chrono::seconds(now.tv_sec) +
                                         std::chrono::nanoseconds(now.tv_nsec))
        .count();
}

std::unique_ptr<Timer> makeOneShot(double seconds, RunLoop::Work work) {
    constexpr std::chrono::seconds kLongestWait(5); // no wake-up more: each sample is one
    return std::make_unique<RecheckedTimer>(seconds, std::move(work), continuousTime, kLongestWait);
}

/// A new thread has this system's default class, below that of what a user waits for, and Qt
/// chooses none.
void raisePriority() {
    ::pthread_set_qos_class_self_np(QOS_CLASS_USER_INITIATED, 0);
}

#endif

} // namespace

QtRunLoop::QtRunLoop(Work end)
    : end_(end ? std::move(end) : Work([] { QCoreApplication::exit(0); })) {}

QtRunLoop::~QtRunLoop() {
    for (QThread* thread : mainThread_.findChildren<QThread*>()) {
        thread->wait();
    }
}

void QtRunLoop::async(Work work) {
    QMetaObject::invokeMethod(&mainThread_, std::move(work), Qt::QueuedConnection);
}

void QtRunLoop::after(double seconds, Work work) {
    QTimer::singleShot(timerMilliseconds(seconds), &mainThread_, std::move(work));
}

std::unique_ptr<Timer> QtRunLoop::once(double seconds, Work work) {
    return makeOneShot(seconds, std::move(work));
}

std::unique_ptr<Timer> QtRunLoop::every(double seconds, Work work) {
    return std::make_unique<QtTimer>(timerMilliseconds(seconds), std::move(work));
}

void QtRunLoop::background(Work work) {
    // No pool: one of the library's would forget the work for which it cannot start a thread.
    QThread* thread = QThread::create([work] {
        raisePriority();
        work();
    });
    thread->setParent(&mainThread_);
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
    if (!thread->isRunning() && !thread->isFinished()) {
        constexpr double kPause = 1; // seconds
        delete thread;
        after(kPause, [this, later = std::move(work)] { background(later); });
    }
}

void QtRunLoop::terminate() {
    // Queued, because an exit before the loop has started would be lost; and not quit(), which
    // asks every window for leave first.
    async(end_);
}

} // namespace korvel::platform
