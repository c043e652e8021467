#include "platform/digest.h"

#include <openssl/sha.h>

namespace korvel::platform {

Sha256 SystemDigest::sha256(std::string_view bytes) {
    Sha256 digest{};
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are bytes
    ::SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest.data());
    return digest;
}

} // namespace korvel::platform
