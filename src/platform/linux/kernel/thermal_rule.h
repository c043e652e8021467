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

/// How close to a limit is near it, in millidegrees: a processor that is this close is about to be
/// throttled.
inline constexpr std::int64_t kNearLimit = 5'000;

/// From the texts of a zone's trip_point_N_type, _temp and _hyst. nullopt for a kind that tells
/// nothing about throttling (a fan's) and for a temperature that is no real one: firmware fills
/// unused trip points with 0 or less, or with 150 degrees or more.
std::optional<TripPoint> parseTripPoint(std::string_view type, std::string_view temperature,
                                        std::string_view hysteresis);

/// Millidegrees of a zone's temp; nullopt when it is no temperature between the same limits.
std::optional<std::int64_t> parseTemperature(std::string_view text);

/// Those of a zone's trip points by which it may be judged: of 40 degrees or more, since a
/// processor at work is warmer than any other limit. None at all when a hot or critical one is
/// lower: such a machine would never have started, so the whole table is a filler.
std::vector<TripPoint> credibleTrips(std::vector<TripPoint> trips);

/// The thermal state of one sensor, 0 nominal to 3 critical: near a passive trip 1, at one 2, at a
/// hot one or near the critical one 3. Near is within five degrees. A state is left only a trip's
/// hysteresis lower.
class ThermalZoneRule {
  public:
    explicit ThermalZoneRule(std::vector<TripPoint> trips) : trips_(std::move(trips)) {}

    /// `temperature` in millidegrees, none when it could not be read just now: the state then
    /// stands, but not for longer than three readings.
    int state(std::optional<std::int64_t> temperature);

    /// The state that the last reading gave; none before the first temperature, and again when none
    /// could be read for longer than three readings.
    std::optional<int> told() const { return tells() ? std::optional(state_) : std::nullopt; }

    bool hasTrips() const { return !trips_.empty(); }

  private:
    static constexpr int kLongestStand = 3; // readings

    bool tells() const { return unread_ <= kLongestStand; }

    std::vector<TripPoint> trips_;
    int state_ = 0;
    int unread_ = kLongestStand + 1;
};

/// What is to be believed of a temperature that firmware reports and no processor vouches for.
class TemperatureDoubt {
  public:
    /// How far `temperature` is from the one before, in millidegrees; 0 where one is missing.
    std::int64_t moved(std::optional<std::int64_t> temperature) const;

    /// `temperature` as it was read; `othersMoved`: how far another sensor is from where it was at
    /// the reading before; both in millidegrees. Gives the temperature, or none when it rose by
    /// more than 40 degrees and no second reading has borne that out.
    std::optional<std::int64_t> believed(std::optional<std::int64_t> temperature,
                                         std::int64_t othersMoved);

    /// Whether nothing is to be believed of it before it moves: it has never moved, and others did
    /// in three readings; or it has stood still, to the millidegree, through twelve readings (a
    /// minute) in which others moved by three degrees or more.
    bool standsStill() const { return stillness_ >= (hasMoved_ ? 12 : 3); }

  private:
    std::optional<std::int64_t> last_;
    std::optional<std::int64_t> unconfirmed_; ///< a rise that one reading has shown
    bool hasMoved_ = false;
    int stillness_ = 0; ///< readings in which only others moved
};

} // namespace korvel::platform
