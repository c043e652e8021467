#pragma once

#include "platform/clock.h"

namespace korvel::platform {

/// The system's wall clock.
class SystemClock final : public Clock {
  public:
    Date now() override;
};

} // namespace korvel::platform
