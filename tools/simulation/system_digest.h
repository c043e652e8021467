#pragma once

// The system's own SHA-256, so that what a scenario's archive is signed with is worked out and not
// scripted.
#ifdef __APPLE__
#include "platform/macos/common_crypto_digest.h"
#else
#include "platform/linux/update/openssl_digest.h"
#endif

namespace korvel {

#ifdef __APPLE__
using SystemDigest = platform::CommonCryptoDigest;
#else
using SystemDigest = platform::OpensslDigest;
#endif

} // namespace korvel
