#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "platform/run_loop.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// A main loop in virtual time, on one thread: the clock stands still while work runs and leaps to
/// the next thing that is due. At one instant an event goes before background work, that before
/// queued work, that before timers; of equal rank the one that was made first goes first. So the
/// same work always runs in the same order.
class SimulatedRunLoop final : public RunLoop, public Logging {
  public:
    void async(Work work) override;
    void after(double seconds, Work work) override;
    /// Counts the time that the machine sleeps, too.
    [[nodiscard]] std::unique_ptr<Timer> once(double seconds, Work work) override;
    /// The nth time is exactly n intervals after the first call, without drift.
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, Work work) override;
    /// Runs `work` on the turn after this one, at the same instant.
    void background(Work work) override;
    /// Lets the background work that runs now take so long: what it queues from here on arrives
    /// that much later. What it reads and changes is read and changed at once.
    void spend(double seconds);
    void terminate() override;

    /// Called at the end of each turn; may be empty.
    std::function<void()> onTurnEnd;

    /// Lets `work` happen to the program from outside, `elapsed` seconds after the loop was made.
    void event(double elapsed, Work work);

    /// Seconds since the loop was made.
    double elapsed() const { return now_; }

    /// Runs all that becomes due, until `terminate` or until nothing is left.
    void run();

    /// Runs what is due within the next `seconds`, including what is due at their end, and stands
    /// there. advance(0) runs what is due now.
    void advance(double seconds);

    /// Lets the machine sleep for so long: no time passes for the loop, but what `once` waits for
    /// comes so much nearer.
    void sleep(double seconds);

    /// Drops all that is still to run.
    void clear();

    /// How many timers of `once` are running.
    std::size_t waitingOnce() const;

    /// How many pieces of work wait for their time or their turn.
    std::size_t waiting() const;

    /// Whether the work that runs now is background work.
    bool inBackground() const { return spent_.has_value(); }

    bool terminated() const { return terminated_; }

  private:
    struct Scheduled;
    class OwnedTimer;

    /// Runs the next piece of work unless it is due after `limit`. False: there was none.
    bool turn(double limit = std::numeric_limits<double>::infinity());
    bool turnAtThisInstant();
    void runBackground(const Work& work);
    void fire();
    std::shared_ptr<Scheduled> schedule(double seconds, bool repeats, Work work);
    void enter(std::shared_ptr<Scheduled> scheduled);

    double now_ = 0;
    bool terminated_ = false;
    std::uint64_t made_ = 0; ///< scheduled so far; numbers them
    std::multimap<double, Work> events_;
    std::deque<Work> background_;
    std::optional<double> spent_;          ///< seconds, by the background work that runs now
    std::multimap<double, Work> arrivals_; ///< queued by such work for a later time
    std::deque<Work> queue_;
    /// By time, then by number.
    std::map<std::pair<double, std::uint64_t>, std::shared_ptr<Scheduled>> timers_;
};

} // namespace korvel::platform
