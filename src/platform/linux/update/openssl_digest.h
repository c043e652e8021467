#pragma once

#include "platform/digest.h"

namespace korvel::platform {

/// By the system's OpenSSL.
class OpensslDigest final : public Digest {
  public:
    Sha256 sha256(std::string_view bytes) override;
};

} // namespace korvel::platform
