#include "platform/digest.h"

#include <memory>
#include <new>

#include <openssl/evp.h>
#include <openssl/sha.h>

#include "platform/linux/update/openssl_handles.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

Sha256 SystemDigest::sha256(std::string_view bytes) {
    Sha256 digest{};
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are bytes
    ::SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest.data());
    return digest;
}

std::optional<Sha256> SystemDigest::sha256OfFile(const std::string& path) {
    const FileDescriptor file = openFile(path);
    const std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
        throw std::bad_alloc();
    }
    Sha256 digest{};
    const bool taken = file && readPieces(file.get(), [&](std::string_view piece) {
                           return EVP_DigestUpdate(context.get(), piece.data(), piece.size()) == 1;
                       });
    return taken && EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1
               ? std::optional(digest)
               : std::nullopt;
}

} // namespace korvel::platform
