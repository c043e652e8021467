#pragma once

#include <cstdint>
#include <functional>

namespace korvel::platform {

/// Asks the process with this pid to end (SIGTERM) if it is still the one that is meant, and does
/// nothing otherwise. `isMeant` looks at the process that has the pid when it is called. The signal
/// goes to the very process that was looked at; where the kernel has no handles for processes, or
/// does not let this program have one, to whoever has the pid right after the look.
void terminateIf(std::int32_t pid, const std::function<bool()>& isMeant);

} // namespace korvel::platform
