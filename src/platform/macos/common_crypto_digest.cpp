#include "platform/digest.h"

#include <CommonCrypto/CommonDigest.h>

#include "platform/posix/whole_file.h"

namespace korvel::platform {

static_assert(Sha256().size() == CC_SHA256_DIGEST_LENGTH);

namespace {

void add(CC_SHA256_CTX& context, std::string_view bytes) {
    // A length has 32 bits there, which a text of ours need not fit.
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, kMostAtOnce);
        ::CC_SHA256_Update(&context, part.data(), static_cast<CC_LONG>(part.size()));
        bytes.remove_prefix(part.size());
    }
}

} // namespace

Sha256 SystemDigest::sha256(std::string_view bytes) {
    CC_SHA256_CTX context{};
    ::CC_SHA256_Init(&context);
    add(context, bytes);
    Sha256 digest{};
    ::CC_SHA256_Final(digest.data(), &context);
    return digest;
}

std::optional<Sha256> SystemDigest::sha256OfFile(const std::string& path) {
    const FileDescriptor file = openFile(path);
    CC_SHA256_CTX context{};
    ::CC_SHA256_Init(&context);
    if (!file || !readPieces(file.get(), [&context](std::string_view piece) {
            add(context, piece);
            return true;
        })) {
        return std::nullopt;
    }
    Sha256 digest{};
    ::CC_SHA256_Final(digest.data(), &context);
    return digest;
}

} // namespace korvel::platform
