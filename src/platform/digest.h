#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace korvel::platform {

using Sha256 = std::array<std::uint8_t, 32>;

/// Digests of bytes in memory.
class Digest {
  public:
    virtual ~Digest() = default;

    virtual Sha256 sha256(std::string_view bytes) = 0;
};

/// By the system's own library; which one that is, the build decides.
class SystemDigest final : public Digest {
  public:
    Sha256 sha256(std::string_view bytes) override;
};

} // namespace korvel::platform
