#include "platform/linux/kernel/thermal_rule.h"

#include <algorithm>
#include <cstdlib>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"
#include "platform/linux/kernel/thermal_state.h"

namespace korvel::platform {

namespace {

constexpr std::int64_t kNoTemperature = 0;         // millidegrees; at or below: a dummy
constexpr std::int64_t kImpossiblyHot = 150'000;   // millidegrees; at or above: a dummy
constexpr std::int64_t kCoolestTrip = 40'000;      // millidegrees
constexpr std::int64_t kWidestHysteresis = 20'000; // millidegrees; above: nonsense

/// The one number of a file with one line.
std::optional<std::int64_t> onlyNumber(std::string_view text) {
    std::optional<std::string_view> line = takeLine(text);
    if (!line) {
        return std::nullopt;
    }
    const auto number = wholeNumber<std::int64_t>(takeWord(*line));
    return takeWord(*line).empty() ? number : std::nullopt;
}

} // namespace

std::optional<std::int64_t> parseTemperature(std::string_view text) {
    const std::optional<std::int64_t> millidegrees = onlyNumber(text);
    if (!millidegrees || *millidegrees <= kNoTemperature || *millidegrees >= kImpossiblyHot) {
        return std::nullopt;
    }
    return millidegrees;
}

std::optional<TripPoint> parseTripPoint(std::string_view type, std::string_view temperature,
                                        std::string_view hysteresis) {
    TripPoint trip;
    const std::optional<std::string_view> kind = takeLine(type);
    if (kind == "passive") {
        trip.kind = TripPoint::Kind::passive;
    } else if (kind == "hot") {
        trip.kind = TripPoint::Kind::hot;
    } else if (kind == "critical") {
        trip.kind = TripPoint::Kind::critical;
    } else {
        return std::nullopt;
    }
    const std::optional<std::int64_t> at = parseTemperature(temperature);
    if (!at) {
        return std::nullopt;
    }
    trip.temperature = *at;
    const std::int64_t width = onlyNumber(hysteresis).value_or(0);
    trip.hysteresis = width > 0 && width <= kWidestHysteresis ? width : 0;
    return trip;
}

std::vector<TripPoint> credibleTrips(std::vector<TripPoint> trips) {
    const auto isTooCool = [](const TripPoint& trip) { return trip.temperature < kCoolestTrip; };
    const bool isFiller = std::any_of(trips.begin(), trips.end(), [&](const TripPoint& trip) {
        return trip.kind != TripPoint::Kind::passive && isTooCool(trip);
    });
    if (isFiller) {
        return {};
    }
    std::erase_if(trips, isTooCool);
    return trips;
}

int ThermalZoneRule::state(std::optional<std::int64_t> temperature) {
    if (!temperature) {
        unread_ = std::min(unread_ + 1, kLongestStand + 1);
        state_ = tells() ? state_ : kNominalHeat;
        return state_;
    }
    unread_ = 0;
    int next = kNominalHeat;
    for (const TripPoint& trip : trips_) {
        // A state that stands is kept until the temperature is below its threshold by the width.
        const auto reached = [&](int state, std::int64_t threshold) {
            const std::int64_t width = state_ >= state ? trip.hysteresis : 0;
            if (*temperature >= threshold - width) {
                next = std::max(next, state);
            }
        };
        switch (trip.kind) {
        case TripPoint::Kind::passive:
            reached(kFairHeat, trip.temperature - kNearLimit);
            reached(kSeriousHeat, trip.temperature);
            break;
        case TripPoint::Kind::hot:
            reached(kCriticalHeat, trip.temperature);
            break;
        case TripPoint::Kind::critical:
            reached(kCriticalHeat, trip.temperature - kNearLimit);
            break;
        }
    }
    state_ = next;
    return state_;
}

std::int64_t TemperatureDoubt::moved(std::optional<std::int64_t> temperature) const {
    return temperature && last_ ? std::abs(*temperature - *last_) : 0;
}

std::optional<std::int64_t> TemperatureDoubt::believed(std::optional<std::int64_t> temperature,
                                                       std::int64_t othersMoved) {
    constexpr std::int64_t kJump = 40'000; // millidegrees
    constexpr std::int64_t kNoise = 3'000; // millidegrees; under it
    if (!temperature) {
        return std::nullopt;
    }
    if (moved(temperature) > 0) {
        hasMoved_ = true;
        stillness_ = 0;
    } else if (othersMoved >= (hasMoved_ ? kNoise : 1) && !standsStill()) {
        ++stillness_;
    }
    const bool isConfirmed = unconfirmed_ && *temperature > *unconfirmed_ - kJump;
    if (last_ && *temperature - *last_ > kJump && !isConfirmed) {
        unconfirmed_ = temperature;
        return std::nullopt;
    }
    unconfirmed_.reset();
    last_ = temperature;
    return temperature;
}

} // namespace korvel::platform
