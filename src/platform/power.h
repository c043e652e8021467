#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korvel::platform {

/// What is kept from sleeping when idle. The lid and the user's own suspend are never touched.
enum class PowerAssertionType { noDisplaySleep, noIdleSleep };

using PowerAssertionId = std::uint32_t; ///< 0 names none

/// Holds the machine awake. What is held is released at the latest when the process ends, however
/// it ends.
class PowerAssertions {
  public:
    virtual ~PowerAssertions() = default;

    /// Takes an assertion that the system lists under `name`; none when it is refused.
    virtual std::optional<PowerAssertionId> create(PowerAssertionType type,
                                                   const std::string& name) = 0;

    /// Whether it is in force: whoever granted it may be gone.
    virtual bool holds(PowerAssertionId id) const = 0;

    /// Releases it. A failure is silent.
    virtual void release(PowerAssertionId id) = 0;
};

} // namespace korvel::platform
