#pragma once

namespace korvel::platform {

/// A moment: wall-clock seconds since 1970-01-01T00:00:00Z, with fractions.
using Date = double;

/// A date before every reading (year 1): "never yet".
inline constexpr Date kDistantPast = -62135769600.0;

/// The wall clock. It may be set back or forth at any time.
class Clock {
  public:
    virtual ~Clock() = default;

    virtual Date now() = 0;
};

} // namespace korvel::platform
