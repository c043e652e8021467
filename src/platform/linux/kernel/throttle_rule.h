#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace korvel::platform {

/// Whether a processor is throttled for heat, by the share of time: of the last fifteen seconds, or
/// of what has been measured of them. Serious from a tenth of the time until it is under a
/// twentieth, critical from a half until it is under a quarter (docs/heat.md says why).
class ThrottleRule {
  public:
    using Moment = std::chrono::steady_clock::time_point;

    /// `total` is how long the processor was throttled since its start, in milliseconds; none when
    /// it could not be read, and then the state stands for three readings. It grows when a time of
    /// throttling ends, by the whole of it. After a total that fell, counting starts anew. `now`
    /// must not stand still during the throttling, nor run on while the machine sleeps.
    /// 0 nominal, 2 serious, 3 critical.
    int state(std::optional<std::uint64_t> total, Moment now);

    /// The last state; none before the first total, and when none could be read for longer than
    /// three readings.
    std::optional<int> told() const { return tells() ? std::optional(state_) : std::nullopt; }

  private:
    static constexpr int kLongestStand = 3; // readings

    bool tells() const { return unread_ <= kLongestStand; }

    using Seconds = std::chrono::duration<double>;

    struct Count {
        std::uint64_t total = 0;
        Moment at;
    };
    struct Interval {
        Seconds throttled{};
        Seconds length{};
    };

    void add(const Count& count);
    Interval sum() const;

    std::optional<Count> before_;
    std::deque<Interval> intervals_; ///< the oldest first
    int state_ = 0;
    int unread_ = kLongestStand + 1;
};

} // namespace korvel::platform
