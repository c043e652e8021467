#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/bundle_fault.h"

namespace korvel::platform {

/// Bytes; twice what as many certificates as are allowed take. A thousand would hold up the program
/// before they are counted.
constexpr std::size_t kLargestSignature = std::size_t{64} << 10;

/// A detached signature as it says itself, unproved.
struct CmsClaim {
    /// The organisational unit of the one signer's certificate; nullopt where the certificate is
    /// not in the signature, or names none, several or one that is not plain text.
    std::optional<std::string> team;
};

/// Reads a detached CMS signature in DER. nullopt: it is none, or has not exactly one signer.
/// Leaves the cryptographic library's list of errors as it was, as `verifyCms` does.
std::optional<CmsClaim> readCmsClaim(std::string_view signature);

/// A signature that was proved good.
struct CmsSigner {
    std::string team;          ///< the one organisational unit of the signer's certificate
    std::int64_t signedAt = 0; ///< by the signer's own word; seconds since 1970

    bool operator==(const CmsSigner&) const = default;
};

/// Whether the detached signature over `content` is good under the root, at the time `now` (seconds
/// since 1970). An error unless all of this holds:
/// - it is one detached CMS signature over plain data, in DER, of exactly one signer, whose
///   certificate is in it, with at most 15 others; it is at most 64 KiB, the content 1 MiB;
/// - that certificate is no authority's, names exactly one organisational unit, has codeSigning
///   among its extended key usages and, where key usages are given, digitalSignature;
/// - it leads to the one root, over at most four authorities in the signature (and these, where
///   they are limited to some extended usages, may sign code); each certificate is as RFC 5280
///   wants it,
///   with keys and digests that are worth 112 bits;
/// - the digest is SHA-256, SHA-384 or SHA-512, the key RSA (PKCS #1) or an elliptic curve's;
/// - the time of signing is among what is signed, is at most a day after `now`, and every
///   certificate was valid at it. Certificates may have expired since: what was published stays
///   installable. A thief of the key can claim any time, so that expiry is no defence against one.
///
/// `rootPem` is the text of exactly one certificate.
Result<CmsSigner, BundleFault> verifyCms(std::string_view signature, std::string_view content,
                                         std::string_view rootPem, std::int64_t now);

} // namespace korvel::platform
