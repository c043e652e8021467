#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel::platform {

/// A temperature at which something is done about the heat.
struct TripPoint {
    enum class Kind { passive, hot, critical };

    Kind kind = Kind::passive;
    std::int64_t temperature = 0; ///< millidegrees Celsius
    std::int64_t hysteresis = 0;  ///< millidegrees below, at which it counts as left
};

/// From the texts of a zone's trip_point_N_type, _temp and _hyst. nullopt for a kind that tells
/// nothing about throttling (a fan's) and for a temperature that is no real one: firmware fills
/// unused trip points with 0 or less, or with 150 degrees or more.
std::optional<TripPoint> parseTripPoint(std::string_view type, std::string_view temperature,
                                        std::string_view hysteresis);

/// Millidegrees of a zone's temp; nullopt when it is no temperature between the same limits.
std::optional<std::int64_t> parseTemperature(std::string_view text);

/// The thermal state of one zone, 0 nominal to 3 critical: near a passive trip 1, at one 2, at a
/// hot one or near the critical one 3. A state is left only a trip's hysteresis lower.
class ThermalZoneRule {
  public:
    explicit ThermalZoneRule(std::vector<TripPoint> trips) : trips_(std::move(trips)) {}

    /// `temperature` in millidegrees, none when it could not be read just now: the state then
    /// stands, but not for longer than three readings.
    int state(std::optional<std::int64_t> temperature);

  private:
    std::vector<TripPoint> trips_;
    int state_ = 0;
    int unread_ = 0;
};

} // namespace korvel::platform
