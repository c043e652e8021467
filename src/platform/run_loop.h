#pragma once

#include <functional>
#include <memory>

namespace korvel::platform {

/// A scheduled piece of work. Destroying it cancels what has not run yet.
class Timer {
  public:
    virtual ~Timer() = default;
};

/// The main thread's queue of work. All but `async` are called on the main thread only.
class RunLoop {
  public:
    using Work = std::function<void()>;

    virtual ~RunLoop() = default;

    /// Runs `work` on the main thread on a later turn, in the order of the calls; never at once.
    /// Callable from any thread.
    virtual void async(Work work) = 0;

    /// Runs `work` once on the main thread, `seconds` from now.
    virtual void after(double seconds, Work work) = 0;

    /// The same, unless the returned timer is destroyed first.
    [[nodiscard]] virtual std::unique_ptr<Timer> once(double seconds, Work work) = 0;

    /// Runs `work` on the main thread every `seconds`, first after one interval, until the returned
    /// timer is destroyed. Times missed while the machine slept are not made up for.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(double seconds, Work work) = 0;

    /// Runs `work` on a thread of its own, at once: however many others are still at work, and
    /// whether or not they ever end; while no thread can be started, as soon as one can. For what
    /// the user has asked for and waits for, so at no lower priority than the main thread's.
    virtual void background(Work work) = 0;

    /// Ends the main loop after the current turn, as the user's "Quit" does.
    virtual void terminate() = 0;
};

} // namespace korvel::platform
