#pragma once

#include <cstdint>
#include <optional>

namespace korvel::platform {

/// How much of one process is swapped out. Callable from any thread.
class SwappedMemory {
  public:
    virtual ~SwappedMemory() = default;

    /// Bytes; nullopt when it cannot be told. May take as long as running a tool does.
    virtual std::optional<double> swappedOut(std::int32_t pid) = 0;
};

} // namespace korvel::platform
