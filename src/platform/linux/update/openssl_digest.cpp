#include <new>

#include <openssl/evp.h>

#include "platform/digest.h"
#include "platform/linux/update/openssl_handles.h"

namespace korvel::platform {

struct RunningSha256::Context {
    std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>> handle{EVP_MD_CTX_new()};
};

RunningSha256::RunningSha256() : context_(std::make_unique<Context>()) {
    if (!context_->handle ||
        EVP_DigestInit_ex(context_->handle.get(), EVP_sha256(), nullptr) != 1) {
        throw std::bad_alloc();
    }
}

RunningSha256::~RunningSha256() = default;

void RunningSha256::add(std::string_view bytes) {
    if (EVP_DigestUpdate(context_->handle.get(), bytes.data(), bytes.size()) != 1) {
        throw std::bad_alloc();
    }
}

Sha256 RunningSha256::digest() {
    Sha256 digest{};
    if (EVP_DigestFinal_ex(context_->handle.get(), digest.data(), nullptr) != 1) {
        throw std::bad_alloc();
    }
    return digest;
}

} // namespace korvel::platform
