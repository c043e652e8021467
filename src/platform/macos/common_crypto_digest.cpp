#include "platform/digest.h"

#include <CommonCrypto/CommonDigest.h>

namespace korvel::platform {

static_assert(Sha256().size() == CC_SHA256_DIGEST_LENGTH);

struct RunningSha256::Context {
    CC_SHA256_CTX handle{};
};

RunningSha256::RunningSha256() : context_(std::make_unique<Context>()) {
    ::CC_SHA256_Init(&context_->handle);
}

RunningSha256::~RunningSha256() = default;

void RunningSha256::add(std::string_view bytes) {
    // A length has 32 bits there, which a text of ours need not fit.
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, kMostAtOnce);
        ::CC_SHA256_Update(&context_->handle, part.data(), static_cast<CC_LONG>(part.size()));
        bytes.remove_prefix(part.size());
    }
}

Sha256 RunningSha256::digest() {
    Sha256 digest{};
    ::CC_SHA256_Final(digest.data(), &context_->handle);
    return digest;
}

} // namespace korvel::platform
