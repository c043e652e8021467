#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace korvel::test {

/// The moment of the tests: 15 January 2027, seconds since 1970.
constexpr std::int64_t kNow = 1800000000;
constexpr std::int64_t kDay = 86400;

/// A certificate with its key. Copies share both.
struct Identity {
    std::shared_ptr<X509> certificate;
    std::shared_ptr<EVP_PKEY> key;

    /// The certificate's text.
    std::string pem() const;
};

enum class KeyKind { p256, explicitP256, p192, rsa2048, rsa1024, dsa, ed25519 };

struct CertificateSpec {
    std::string name = "Oxbrook";
    std::vector<std::string> units; ///< organisational units
    bool authority = false;
    std::string keyUsage = "critical,digitalSignature"; ///< none where empty
    std::string extendedUsage = "codeSigning";          ///< none where empty
    std::int64_t from = kNow - 365 * kDay;
    std::int64_t until = kNow + 365 * kDay;
    KeyKind key = KeyKind::p256;
    std::string digest = "SHA256";
    long serial = 0; ///< 0: one that no other has
    bool keyIdentifiers = true;
    std::string basicConstraints = {};      ///< other than `authority` has them
    std::function<void(X509*)> change = {}; ///< done to it before it is signed
};

/// A certificate of an authority, root or below it.
CertificateSpec authoritySpec(const std::string& name);

/// Makes a key and a certificate for it, issued by `issuer`, or by itself where that is null.
Identity issue(const CertificateSpec& spec, const Identity* issuer);

struct SignatureSpec {
    std::vector<Identity> signers;
    std::vector<Identity> others; ///< whose certificates go with it
    std::optional<std::int64_t> time =
        kNow - kDay; ///< of signing; none: only the content is signed
    std::string digest = "SHA256";
    bool detached = true;
    bool withCertificate = true;
    int contentType = 0; ///< that of the container, by its number in the library; 0: plain data
    bool pss = false;    ///< the padding of an RSA key
    /// Done to the one signer, after which the attributes that there are then are signed with this
    /// signer's key.
    std::function<void(CMS_SignerInfo*)> change = {};
    std::optional<Identity> changedBy = std::nullopt; ///< other than the signer
};

/// A CMS signature over the content, in DER.
std::string sign(std::string_view content, const SignatureSpec& spec);

} // namespace korvel::test
