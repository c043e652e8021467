#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"
#include "platform/linux/update/cms_signature.h"

namespace {

/// The root of those that are kept; nobody has its key.
constexpr const char* kRoot = "-----BEGIN CERTIFICATE-----\n"
                              "MIIBgzCCASmgAwIBAgIULkftpJpVLvrDI4+u6D2AfFELRLkwCgYIKoZIzj0EAwIw\n"
                              "DzENMAsGA1UEAwwEUm9vdDAeFw0yNjExMjIwMDIyNTBaFw0yNjEyMjIwMDIyNTBa\n"
                              "MA8xDTALBgNVBAMMBFJvb3QwWTATBgcqhkjOPQIBBggqhkjOPQMBBwNCAAQXHOpn\n"
                              "t/Hbk233BU34CVgyOfep71gXPgJyXbUED5OlVYXTroccrKIU+VOeIG+agC6QumDR\n"
                              "tGXloCupWTUaU0j0o2MwYTAdBgNVHQ4EFgQUNiYPAjKNuGgqs9duZNu93k72X8Ew\n"
                              "HwYDVR0jBBgwFoAUNiYPAjKNuGgqs9duZNu93k72X8EwDwYDVR0TAQH/BAUwAwEB\n"
                              "/zAOBgNVHQ8BAf8EBAMCAgQwCgYIKoZIzj0EAwIDSAAwRQIgWZp01OwD5+yP4P6F\n"
                              "eizcLsIb96a/oyIxO0DhZe5vyZ4CIQDgGNCvoE0YpDzz6G6KxC9e8AGyafKf7qiZ\n"
                              "n+j9Zk3SFQ==\n"
                              "-----END CERTIFICATE-----\n";
constexpr const char* kContent = "what is signed\n";
constexpr std::int64_t kNow = 1800000000; // January 2027
constexpr std::int64_t kTwoDays = 172800; // seconds; a clock may be wrong by one

} // namespace

// Any bytes are a signature that says whose it is, or none; a good one is what it says, over this
// content only, and nothing can stand behind it.
void fuzz(std::string_view bytes) {
    const auto claim = korvel::platform::readCmsClaim(bytes);
    // Reading the root takes many times as long as refusing what is no signature at all. So what
    // claims nothing is verified for one sum of its bytes in 64 only.
    constexpr unsigned kOneIn = 64;
    const unsigned sum =
        std::accumulate(bytes.begin(), bytes.end(), 0U, [](unsigned all, char byte) {
            return all + static_cast<unsigned char>(byte);
        });
    if (!claim && sum % kOneIn != 0) {
        return;
    }
    const auto signer = korvel::platform::verifyCms(bytes, kContent, kRoot, kNow);
    require(!signer || claim, "a good one says whose it is");
    if (signer) {
        require(claim->team == signer->team, "a good one is of whom it says");
        require(signer->team == "7QX4D1K9WB", "the root's key signed no other");
        require(!korvel::platform::verifyCms(bytes, "another content", kRoot, kNow),
                "it is over this content");
        require(!korvel::platform::verifyCms(bytes, kContent, kRoot, signer->signedAt - kTwoDays),
                "it is not from the future");
    }
    if (claim) {
        const std::string longer = std::string(bytes) + std::string(1, '\0');
        require(!korvel::platform::readCmsClaim(longer), "nothing stands behind it");
    }
}
