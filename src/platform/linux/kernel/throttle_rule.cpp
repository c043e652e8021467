#include "platform/linux/kernel/throttle_rule.h"

#include <algorithm>

#include "platform/linux/kernel/thermal_state.h"

namespace korvel::platform {

int ThrottleRule::state(std::optional<std::uint64_t> total, Moment now) {
    constexpr double kThrottled = 0.10;
    constexpr double kThrottledNoMore = 0.05;
    constexpr double kHeavily = 0.50;
    constexpr double kHeavilyNoMore = 0.25;
    if (!total) {
        unread_ = std::min(unread_ + 1, kLongestStand + 1);
        state_ = tells() ? state_ : kNominalHeat;
        return state_;
    }
    unread_ = 0;
    add({*total, now});
    const Interval measured = sum();
    // Over 1 where a throttling has ended that began before the fifteen seconds.
    const double share = intervals_.empty() ? 0 : measured.throttled / measured.length;
    if (share >= (state_ >= kCriticalHeat ? kHeavilyNoMore : kHeavily)) {
        state_ = kCriticalHeat;
    } else if (share >= (state_ >= kSeriousHeat ? kThrottledNoMore : kThrottled)) {
        state_ = kSeriousHeat;
    } else {
        state_ = kNominalHeat;
    }
    return state_;
}

void ThrottleRule::add(const Count& count) {
    // Readings that come close together must not make a millisecond a large share.
    constexpr Seconds kShortest(5);
    constexpr Seconds kWindow(15);
    if (before_ && count.total >= before_->total) {
        const std::chrono::duration<double, std::milli> throttled(
            static_cast<double>(count.total - before_->total));
        intervals_.push_back({throttled, std::max<Seconds>(count.at - before_->at, kShortest)});
    } else {
        intervals_.clear();
    }
    before_ = count;
    while (!intervals_.empty() && sum().length - intervals_.front().length >= kWindow) {
        intervals_.pop_front();
    }
}

ThrottleRule::Interval ThrottleRule::sum() const {
    Interval sum;
    for (const Interval& interval : intervals_) {
        sum.throttled += interval.throttled;
        sum.length += interval.length;
    }
    return sum;
}

} // namespace korvel::platform
