#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform {

using Sha256 = std::array<std::uint8_t, 32>;

/// Digests of files.
class Digest {
  public:
    virtual ~Digest() = default;

    /// Of all that is in the file, taken while it is read; nullopt when it cannot be read or is no
    /// regular file.
    virtual std::optional<Sha256> sha256OfFile(const std::string& path) = 0;
};

/// By the system's own library; which one that is, the build decides.
class SystemDigest final : public Digest {
  public:
    std::optional<Sha256> sha256OfFile(const std::string& path) override;

    static Sha256 sha256(std::string_view bytes);
};

} // namespace korvel::platform
