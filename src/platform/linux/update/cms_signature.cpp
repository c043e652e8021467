#include "platform/linux/update/cms_signature.h"

#include <algorithm>
#include <array>
#include <ctime>

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "base/utf8.h"
#include "platform/linux/update/openssl_handles.h"

namespace korvel::platform {

namespace {

constexpr std::size_t kLargestContent = std::size_t{1} << 20;
constexpr int kMostCertificates = 16;
constexpr int kMostAuthorities = 4; ///< between the signer and the root
constexpr int kSecurityLevel = 2;   ///< 112 bits: RSA from 2048 bits on, no SHA-1
constexpr std::int64_t kMostClockError = 86400;

/// Whether each length in the elements is told, in as few bytes as it takes, and no string is in
/// pieces.
// NOLINTNEXTLINE(misc-no-recursion): bounded
bool hasPlainLengths(const unsigned char* at, long length, int depth = 0) {
    constexpr int kDeepest = 32;
    constexpr int kUnreadable = 0x80;
    constexpr int kWithoutLength = 1;
    const unsigned char* const end = at + length;
    while (at != end) {
        const unsigned char* content = at;
        long size = 0;
        int tag = 0;
        int kind = 0;
        const int form = ASN1_get_object(&content, &size, &tag, &kind, end - at);
        const bool isConstructed = (form & V_ASN1_CONSTRUCTED) != 0;
        const bool isCollection =
            kind != V_ASN1_UNIVERSAL || tag == V_ASN1_SEQUENCE || tag == V_ASN1_SET;
        if ((form & (kUnreadable | kWithoutLength)) != 0 || depth > kDeepest ||
            (isConstructed && !isCollection) ||
            ASN1_object_size(isConstructed ? 1 : 0, static_cast<int>(size), tag) !=
                content + size - at ||
            (isConstructed && !hasPlainLengths(content, size, depth + 1))) {
            return false;
        }
        at = content + size;
    }
    return true;
}

/// Whether the bytes are the one encoding in DER of what was read from them. Anybody could write a
/// good signature in other ways, were it not held to one. The library keeps names as they came, so
/// that writing it again does not tell alone.
bool isInDer(CMS_ContentInfo* cms, std::string_view bytes) {
    const BioHandle written(BIO_new(BIO_s_mem()));
    char* data = nullptr;
    if (!written || i2d_CMS_bio(written.get(), cms) != 1) {
        return false;
    }
    const long length = BIO_get_mem_data(written.get(), &data);
    return bytes == std::string_view(data, static_cast<std::size_t>(length)) &&
           hasPlainLengths(reinterpret_cast<const unsigned char*>(bytes.data()), length);
}

/// Reads all of the bytes as a detached signature.
CmsHandle parsedCms(std::string_view signature) {
    if (signature.empty() || signature.size() > kLargestSignature) {
        return nullptr;
    }
    const auto* at = reinterpret_cast<const unsigned char*>(signature.data());
    const auto* const end = at + signature.size();
    CmsHandle cms(d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(signature.size())));
    if (!cms || at != end || OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed ||
        OBJ_obj2nid(CMS_get0_eContentType(cms.get())) != NID_pkcs7_data) {
        return nullptr;
    }
    if (!isInDer(cms.get(), signature)) {
        return nullptr;
    }
    ASN1_OCTET_STRING** const content = CMS_get0_content(cms.get());
    return content != nullptr && *content == nullptr ? std::move(cms) : nullptr;
}

/// Null unless there is exactly one.
CMS_SignerInfo* oneSigner(CMS_ContentInfo* cms) {
    STACK_OF(CMS_SignerInfo)* const signers = CMS_get0_SignerInfos(cms);
    return sk_CMS_SignerInfo_num(signers) == 1 ? sk_CMS_SignerInfo_value(signers, 0) : nullptr;
}

/// Finds the signer's certificate among those in the signature; null where it is not there. What is
/// found is what the signature is then checked with.
X509* certificateOf(CMS_ContentInfo* cms, CMS_SignerInfo* signer) {
    X509* found = nullptr;
    CMS_set1_signers_certs(cms, nullptr, 0);
    CMS_SignerInfo_get0_algs(signer, nullptr, &found, nullptr, nullptr);
    return found;
}

std::optional<std::string> teamOf(const X509* certificate) {
    const X509_NAME* const subject = X509_get_subject_name(certificate);
    const int unit = X509_NAME_get_index_by_NID(subject, NID_organizationalUnitName, -1);
    if (unit < 0 || X509_NAME_get_index_by_NID(subject, NID_organizationalUnitName, unit) >= 0) {
        return std::nullopt;
    }
    unsigned char* bytes = nullptr;
    const int length =
        ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, unit)));
    if (length < 0) {
        return std::nullopt;
    }
    std::string team(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    OPENSSL_free(bytes);
    return !team.empty() && isPlainText(team) ? std::optional(team) : std::nullopt;
}

/// The one certificate that the text holds; null where it holds none or more.
X509Handle rootOf(std::string_view pem) {
    if (pem.empty()) {
        return nullptr;
    }
    const BioHandle source = bioOf(pem);
    X509Handle root(PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr));
    const X509Handle another(PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr));
    return another ? nullptr : std::move(root);
}

/// The time of signing from the signed attributes; nullopt unless there is exactly one.
std::optional<std::int64_t> signingTime(const CMS_SignerInfo* signer) {
    const int at = CMS_signed_get_attr_by_NID(signer, NID_pkcs9_signingTime, -1);
    if (at < 0 || CMS_signed_get_attr_by_NID(signer, NID_pkcs9_signingTime, at) >= 0) {
        return std::nullopt;
    }
    X509_ATTRIBUTE* const attribute = CMS_signed_get_attr(signer, at);
    if (X509_ATTRIBUTE_count(attribute) != 1) {
        return std::nullopt;
    }
    const ASN1_TYPE* const value = X509_ATTRIBUTE_get0_type(attribute, 0);
    std::tm parts{};
    if (value == nullptr ||
        (value->type != V_ASN1_UTCTIME && value->type != V_ASN1_GENERALIZEDTIME) ||
        ASN1_TIME_to_tm(value->value.asn1_string, &parts) != 1) {
        return std::nullopt;
    }
    return ::timegm(&parts);
}

/// Whether the signer says, once, that plain data is what was signed, as the container does.
bool namesPlainData(const CMS_SignerInfo* signer) {
    constexpr int kOnlyOneValue = -3;
    const void* const type = CMS_signed_get0_data_by_OBJ(signer, OBJ_nid2obj(NID_pkcs9_contentType),
                                                         kOnlyOneValue, V_ASN1_OBJECT);
    return OBJ_obj2nid(static_cast<const ASN1_OBJECT*>(type)) == NID_pkcs7_data;
}

int nidOf(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    return OBJ_obj2nid(object);
}

bool hasStrongAlgorithms(CMS_SignerInfo* signer, X509* certificate) {
    constexpr std::array kDigests{NID_sha256, NID_sha384, NID_sha512};
    X509_ALGOR* digest = nullptr;
    X509_ALGOR* signature = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, &signature);
    const int digestNid = nidOf(digest);
    if (std::find(kDigests.begin(), kDigests.end(), digestNid) == kDigests.end()) {
        return false;
    }
    // Plain RSA leaves the digest to the other field; a name of both must name the same one.
    int named = digestNid;
    int key = nidOf(signature);
    if (key != NID_rsaEncryption &&
        (OBJ_find_sigid_algs(key, &named, &key) != 1 || named != digestNid)) {
        return false;
    }
    // The library goes by the key, whatever the signature names.
    const EVP_PKEY* const real = X509_get0_pubkey(certificate);
    return (key == NID_rsaEncryption || key == NID_X9_62_id_ecPublicKey) && real != nullptr &&
           EVP_PKEY_get_base_id(real) == key;
}

/// Whether the library knows every digest that the container lists. To be asked ahead of
/// CMS_verify(), which refuses others as well but then leaks its view of the content.
bool knowsDigests(CMS_ContentInfo* cms) {
    const BioHandle sink(BIO_new(BIO_s_null()));
    BIO* filter = sink ? CMS_dataInit(cms, sink.get()) : nullptr;
    const bool known = filter != nullptr;
    while (filter != nullptr && filter != sink.get()) {
        BIO* const below = BIO_pop(filter);
        BIO_free(filter);
        filter = below;
    }
    return known;
}

/// Whether the certificate is one to sign programs with.
Status<BundleFault> checkSigner(X509* certificate) {
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_INVALID) != 0) {
        return Error{BundleFault::certificateMalformed};
    }
    if ((flags & EXFLAG_CA) != 0) {
        return Error{BundleFault::signerIsAuthority};
    }
    if ((flags & EXFLAG_XKUSAGE) == 0 ||
        (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) == 0) {
        return Error{BundleFault::signerNotForCode};
    }
    if ((flags & EXFLAG_KUSAGE) != 0 &&
        (X509_get_key_usage(certificate) & KU_DIGITAL_SIGNATURE) == 0) {
        return Error{BundleFault::signerNotForSigning};
    }
    return teamOf(certificate) ? Status<BundleFault>() : Error{BundleFault::signerNotOfOneTeam};
}

/// Whether the certificate leads to the root as it was at `time`.
Status<BundleFault> checkChain(X509* root, X509* certificate, STACK_OF(X509) * others,
                               std::time_t time) {
    const X509StoreHandle store(X509_STORE_new());
    const X509ContextHandle context(X509_STORE_CTX_new());
    if (!store || !context || X509_STORE_add_cert(store.get(), root) != 1 ||
        X509_STORE_CTX_init(context.get(), store.get(), certificate, others) != 1) {
        return Error{BundleFault::libraryFailed};
    }
    X509_VERIFY_PARAM* const rules = X509_STORE_CTX_get0_param(context.get());
    // None of the purposes that the library knows is code; usages are looked at here.
    X509_VERIFY_PARAM_set_purpose(rules, X509_PURPOSE_ANY);
    X509_VERIFY_PARAM_set_flags(rules, X509_V_FLAG_X509_STRICT);
    X509_VERIFY_PARAM_set_depth(rules, kMostAuthorities);
    X509_VERIFY_PARAM_set_auth_level(rules, kSecurityLevel);
    X509_VERIFY_PARAM_set_time(rules, time);
    if (X509_verify_cert(context.get()) != 1) {
        return Error{BundleFault::notUnderRoot, "",
                     X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()))};
    }
    const STACK_OF(X509)* const chain = X509_STORE_CTX_get0_chain(context.get());
    for (int i = 1; i + 1 < sk_X509_num(chain); ++i) {
        X509* const authority = sk_X509_value(chain, i);
        if ((X509_get_extension_flags(authority) & EXFLAG_XKUSAGE) != 0 &&
            (X509_get_extended_key_usage(authority) & (XKU_CODE_SIGN | XKU_ANYEKU)) == 0) {
            return Error{BundleFault::authorityNotForCode};
        }
    }
    return {};
}

} // namespace

std::optional<CmsClaim> readCmsClaim(std::string_view signature) {
    const KeepErrors errors;
    const CmsHandle cms = parsedCms(signature);
    CMS_SignerInfo* const signer = cms ? oneSigner(cms.get()) : nullptr;
    if (signer == nullptr) {
        return std::nullopt;
    }
    const X509* const certificate = certificateOf(cms.get(), signer);
    return CmsClaim{certificate == nullptr ? std::nullopt : teamOf(certificate)};
}

Result<CmsSigner, BundleFault> verifyCms(std::string_view signature, std::string_view content,
                                         std::string_view rootPem, std::int64_t now) {
    const KeepErrors errors;
    const X509Handle root = rootOf(rootPem);
    if (!root) {
        return Error{BundleFault::noRoot};
    }
    const CmsHandle cms = parsedCms(signature);
    if (!cms || content.size() > kLargestContent) {
        return Error{BundleFault::signatureMalformed};
    }
    CMS_SignerInfo* const signer = oneSigner(cms.get());
    if (signer == nullptr) {
        return Error{BundleFault::notOneSigner};
    }
    const X509ListHandle others(CMS_get1_certs(cms.get()));
    X509* const certificate = certificateOf(cms.get(), signer);
    if (certificate == nullptr) {
        return Error{BundleFault::certificateMissing};
    }
    if (sk_X509_num(others.get()) > kMostCertificates) {
        return Error{BundleFault::tooManyCertificates};
    }
    if (!hasStrongAlgorithms(signer, certificate)) {
        return Error{BundleFault::weakAlgorithms};
    }
    const auto time = signingTime(signer);
    if (!time) {
        return Error{BundleFault::timeMissing};
    }
    if (*time > now + kMostClockError) {
        return Error{BundleFault::timeInFuture};
    }
    if (!namesPlainData(signer)) {
        return Error{BundleFault::signatureMalformed};
    }
    if (const auto checked = checkSigner(certificate); !checked) {
        return checked.error();
    }
    if (const auto checked = checkChain(root.get(), certificate, others.get(), *time); !checked) {
        return checked.error();
    }
    if (!knowsDigests(cms.get())) {
        return Error{BundleFault::notOverManifest};
    }
    const BioHandle bytes = bioOf(content);
    constexpr unsigned kFlags = CMS_BINARY | CMS_DETACHED | CMS_NO_SIGNER_CERT_VERIFY;
    if (CMS_verify(cms.get(), nullptr, nullptr, bytes.get(), nullptr, kFlags) != 1) {
        return Error{BundleFault::notOverManifest};
    }
    return CmsSigner{teamOf(certificate).value_or(""), *time};
}

} // namespace korvel::platform
