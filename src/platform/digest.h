#pragma once

#include <array>
#include <cstdint>
#include <memory>
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

/// Takes the digest of bytes that come piece by piece, by the system's own library; which one that
/// is, the build decides.
class RunningSha256 {
  public:
    RunningSha256();
    ~RunningSha256();
    RunningSha256(const RunningSha256&) = delete;
    RunningSha256& operator=(const RunningSha256&) = delete;

    void add(std::string_view bytes);

    /// Of all that was added; to be called once.
    Sha256 digest();

  private:
    struct Context;
    std::unique_ptr<Context> context_;
};

/// By the same library.
class SystemDigest final : public Digest {
  public:
    std::optional<Sha256> sha256OfFile(const std::string& path) override;

    static Sha256 sha256(std::string_view bytes);
};

} // namespace korvel::platform
