#include "platform/posix/system_clock.h"

#include <chrono>

namespace korvel::platform {

Date SystemClock::now() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(sinceEpoch).count();
}

} // namespace korvel::platform
