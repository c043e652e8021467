#pragma once

#include "platform/digest.h"

namespace korvel::platform {

/// By the system's CommonCrypto.
class CommonCryptoDigest final : public Digest {
  public:
    Sha256 sha256(std::string_view bytes) override;
};

} // namespace korvel::platform
