#include "platform/linux/kernel/thermal_rule.h"

#include <algorithm>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

constexpr std::int64_t kNoTemperature = 0;         // millidegrees; at or below: a dummy
constexpr std::int64_t kImpossiblyHot = 150'000;   // millidegrees; at or above: a dummy
constexpr std::int64_t kNear = 5'000;              // millidegrees
constexpr std::int64_t kWidestHysteresis = 20'000; // millidegrees; above: nonsense

constexpr int kNominal = 0;
constexpr int kFair = 1;
constexpr int kSerious = 2;
constexpr int kCriticalState = 3;

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

int ThermalZoneRule::state(std::optional<std::int64_t> temperature) {
    constexpr int kLongestStand = 3; // readings
    if (!temperature) {
        if (++unread_ > kLongestStand) {
            state_ = kNominal;
        }
        return state_;
    }
    unread_ = 0;
    int next = kNominal;
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
            reached(kFair, trip.temperature - kNear);
            reached(kSerious, trip.temperature);
            break;
        case TripPoint::Kind::hot:
            reached(kCriticalState, trip.temperature);
            break;
        case TripPoint::Kind::critical:
            reached(kCriticalState, trip.temperature - kNear);
            break;
        }
    }
    state_ = next;
    return state_;
}

} // namespace korvel::platform
