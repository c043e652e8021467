#include "platform/linux/update/signing_kit.h"

#include <algorithm>
#include <stdexcept>

#include <openssl/cms.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "platform/linux/update/der.h"
#include "platform/linux/update/openssl_handles.h"

namespace korvel::test {

namespace {

using namespace korvel::platform;

void check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

/// Of the kind that needs parameters first.
EVP_PKEY* newDsaKey() {
    using Context = std::unique_ptr<EVP_PKEY_CTX, FreeWith<EVP_PKEY_CTX_free>>;
    constexpr int kBits = 1024; // fewer than are accepted, since more take seconds to find
    EVP_PKEY* parameters = nullptr;
    EVP_PKEY* key = nullptr;
    const Context finder(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    check(EVP_PKEY_paramgen_init(finder.get()) == 1 &&
              EVP_PKEY_CTX_set_dsa_paramgen_bits(finder.get(), kBits) == 1 &&
              EVP_PKEY_paramgen(finder.get(), &parameters) == 1,
          "no parameters");
    const Context maker(EVP_PKEY_CTX_new(parameters, nullptr));
    EVP_PKEY_free(parameters);
    check(EVP_PKEY_keygen_init(maker.get()) == 1 && EVP_PKEY_keygen(maker.get(), &key) == 1,
          "no key");
    return key;
}

std::shared_ptr<EVP_PKEY> newKey(KeyKind kind) {
    EVP_PKEY* key = nullptr;
    switch (kind) {
    case KeyKind::p256:
        key = EVP_EC_gen("P-256");
        break;
    case KeyKind::explicitP256:
        key = EVP_EC_gen("P-256");
        check(EVP_PKEY_set_utf8_string_param(key, OSSL_PKEY_PARAM_EC_ENCODING, "explicit") == 1,
              "no parameters");
        break;
    case KeyKind::dsa:
        key = newDsaKey();
        break;
    case KeyKind::ed25519:
        key = EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
        break;
    case KeyKind::p192:
        key = EVP_EC_gen("P-192");
        break;
    case KeyKind::rsa2048:
        key = EVP_RSA_gen(2048);
        break;
    case KeyKind::rsa1024:
        key = EVP_RSA_gen(1024);
        break;
    }
    check(key != nullptr, "no key");
    return {key, EVP_PKEY_free};
}

void addExtension(X509* certificate, X509V3_CTX& context, int nid, const std::string& value) {
    if (!value.empty()) {
        X509_EXTENSION* const made = X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str());
        check(made != nullptr && X509_add_ext(certificate, made, -1) == 1, "no extension");
        X509_EXTENSION_free(made);
    }
}

void addTo(X509_NAME* name, const char* field, const std::string& value) {
    check(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char*>(value.data()),
                                     static_cast<int>(value.size()), -1, 0) == 1,
          "no name");
}

std::string bytesOf(BIO* bio) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(length)};
}

void addSigner(CMS_ContentInfo* cms, const Identity& signer, const SignatureSpec& spec,
               unsigned flags) {
    CMS_SignerInfo* const added = CMS_add1_signer(cms, signer.certificate.get(), signer.key.get(),
                                                  EVP_get_digestbyname(spec.digest.c_str()),
                                                  flags | (spec.pss ? CMS_KEY_PARAM : 0U));
    check(added != nullptr, "no signer");
    check(!spec.pss || EVP_PKEY_CTX_set_rsa_padding(CMS_SignerInfo_get0_pkey_ctx(added),
                                                    RSA_PKCS1_PSS_PADDING) == 1,
          "no such padding");
    if (spec.time) {
        ASN1_TIME* const stamp = ASN1_TIME_set(nullptr, *spec.time);
        const bool put =
            CMS_signed_add1_attr_by_NID(added, NID_pkcs9_signingTime, stamp->type, stamp, -1) == 1;
        ASN1_TIME_free(stamp);
        check(put, "no time");
    }
}

std::vector<unsigned char> signatureOf(std::string_view content, EVP_PKEY* key,
                                       const std::string& digest) {
    const bool ownDigest = EVP_PKEY_is_a(key, "ED25519") == 1;
    using Context = std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>>;
    const Context context(EVP_MD_CTX_new());
    std::vector<unsigned char> value(1024);
    std::size_t size = value.size();
    check(EVP_DigestSignInit(context.get(), nullptr,
                             ownDigest ? nullptr : EVP_get_digestbyname(digest.c_str()), nullptr,
                             key) == 1 &&
              EVP_DigestSign(context.get(), value.data(), &size,
                             reinterpret_cast<const unsigned char*>(content.data()),
                             content.size()) == 1,
          "no signature");
    value.resize(size);
    return value;
}

/// Signs a certificate of whatever version it has: later releases of OpenSSL first give it the one
/// that may have extensions.
void signAsItIs(X509* certificate, EVP_PKEY* key, const std::string& digest) {
    const long version = X509_get_version(certificate);
    check(X509_sign(certificate, key, EVP_get_digestbyname(digest.c_str())) > 0, "no signature");
    if (X509_get_version(certificate) == version) {
        return;
    }
    X509_set_version(certificate, version);
    unsigned char* bytes = nullptr;
    const int length = i2d_re_X509_tbs(certificate, &bytes);
    check(length > 0, "no certificate");
    const std::vector<unsigned char> value = signatureOf(
        {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)}, key, digest);
    OPENSSL_free(bytes);
    const ASN1_BIT_STRING* place = nullptr;
    X509_get0_signature(&place, nullptr, certificate);
    check(ASN1_BIT_STRING_set(const_cast<ASN1_BIT_STRING*>(place),
                              const_cast<unsigned char*>(value.data()),
                              static_cast<int>(value.size())) == 1,
          "no signature in its place");
}

/// Signs the attributes as they are now, which the library does only where they are as it wants
/// them.
void signAttributes(CMS_SignerInfo* signer, const SignatureSpec& spec) {
    std::vector<std::string> attributes;
    for (int i = 0; i < CMS_signed_get_attr_count(signer); ++i) {
        unsigned char* bytes = nullptr;
        const int length = i2d_X509_ATTRIBUTE(CMS_signed_get_attr(signer, i), &bytes);
        check(length > 0, "no attribute");
        attributes.emplace_back(reinterpret_cast<const char*>(bytes), length);
        OPENSSL_free(bytes);
    }
    std::sort(attributes.begin(), attributes.end());
    std::string content;
    for (const std::string& attribute : attributes) {
        content += attribute;
    }
    constexpr char kSetTag = 0x31;
    content = derElement(kSetTag, content);
    EVP_PKEY* const key = spec.changedBy.value_or(spec.signers.front()).key.get();
    const std::vector<unsigned char> value = signatureOf(content, key, spec.digest);
    check(ASN1_OCTET_STRING_set(CMS_SignerInfo_get0_signature(signer), value.data(),
                                static_cast<int>(value.size())) == 1,
          "no signature of the attributes");
}

} // namespace

std::string Identity::pem() const {
    const BioHandle bio(BIO_new(BIO_s_mem()));
    check(PEM_write_bio_X509(bio.get(), certificate.get()) == 1, "no text");
    return bytesOf(bio.get());
}

CertificateSpec authoritySpec(const std::string& name) {
    CertificateSpec spec;
    spec.name = name;
    spec.authority = true;
    spec.keyUsage = "critical,keyCertSign,cRLSign";
    spec.extendedUsage = "";
    return spec;
}

Identity issue(const CertificateSpec& spec, const Identity* issuer) {
    Identity made{{X509_new(), X509_free}, newKey(spec.key)};
    X509* const certificate = made.certificate.get();
    X509* const above = issuer != nullptr ? issuer->certificate.get() : certificate;
    static long serial = 1000000;
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), spec.serial != 0 ? spec.serial : ++serial);
    ASN1_TIME_set(X509_getm_notBefore(certificate), spec.from);
    ASN1_TIME_set(X509_getm_notAfter(certificate), spec.until);
    X509_set_pubkey(certificate, made.key.get());
    X509_NAME* const subject = X509_get_subject_name(certificate);
    addTo(subject, "CN", spec.name);
    for (const std::string& unit : spec.units) {
        addTo(subject, "OU", unit);
    }
    X509_set_issuer_name(certificate, X509_get_subject_name(above));
    X509V3_CTX context;
    X509V3_set_ctx(&context, above, certificate, nullptr, nullptr, 0);
    const char* const usual = spec.authority ? "critical,CA:TRUE" : "critical,CA:FALSE";
    addExtension(certificate, context, NID_basic_constraints,
                 spec.basicConstraints.empty() ? usual : spec.basicConstraints);
    if (spec.keyIdentifiers) {
        addExtension(certificate, context, NID_subject_key_identifier, "hash");
    }
    if (issuer != nullptr && spec.keyIdentifiers) {
        addExtension(certificate, context, NID_authority_key_identifier, "keyid:always");
    }
    addExtension(certificate, context, NID_key_usage, spec.keyUsage);
    addExtension(certificate, context, NID_ext_key_usage, spec.extendedUsage);
    if (spec.change) {
        spec.change(certificate);
    }
    const Identity& signer = issuer != nullptr ? *issuer : made;
    signAsItIs(certificate, signer.key.get(), spec.digest);
    return made;
}

std::string sign(std::string_view content, const SignatureSpec& spec) {
    unsigned flags = CMS_BINARY | CMS_PARTIAL;
    flags |= spec.detached ? CMS_DETACHED : 0U;
    flags |= spec.time ? 0U : CMS_NOATTR;
    flags |= spec.withCertificate ? 0U : CMS_NOCERTS;
    const CmsHandle cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags));
    check(cms != nullptr, "no container");
    check(spec.contentType == 0 ||
              CMS_set1_eContentType(cms.get(), OBJ_nid2obj(spec.contentType)) == 1,
          "no such type");
    for (const Identity& signer : spec.signers) {
        addSigner(cms.get(), signer, spec, flags);
    }
    for (const Identity& other : spec.others) {
        check(CMS_add1_cert(cms.get(), other.certificate.get()) == 1, "no certificate");
    }
    const BioHandle bytes = bioOf(content);
    check(spec.signers.empty() || CMS_final(cms.get(), bytes.get(), nullptr, flags) == 1,
          "not signed");
    if (spec.change) {
        CMS_SignerInfo* const signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0);
        spec.change(signer);
        signAttributes(signer, spec);
    }
    const BioHandle out(BIO_new(BIO_s_mem()));
    check(i2d_CMS_bio(out.get(), cms.get()) == 1, "not written");
    return bytesOf(out.get());
}

} // namespace korvel::test
