#include "platform/linux/update/signing_kit.h"

#include <stdexcept>

#include <openssl/cms.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "platform/linux/update/openssl_handles.h"

namespace korvel::test {

namespace {

using namespace korvel::platform;

// Differs in the last number from the identifier of the time of signing.
constexpr const char* kNearlyTime = "1.2.840.113549.1.9.99";

void check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

std::shared_ptr<EVP_PKEY> newKey(KeyKind kind) {
    EVP_PKEY* key = nullptr;
    switch (kind) {
    case KeyKind::p256:
        key = EVP_EC_gen("P-256");
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
                                                  EVP_get_digestbyname(spec.digest.c_str()), flags);
    check(added != nullptr, "no signer");
    if (spec.time) {
        ASN1_TIME* const stamp = ASN1_TIME_set(nullptr, *spec.time);
        const bool put =
            CMS_signed_add1_attr_by_NID(added, NID_pkcs9_signingTime, stamp->type, stamp, -1) ==
                1 &&
            (!spec.secondTime ||
             CMS_signed_add1_attr_by_txt(added, kNearlyTime, stamp->type, stamp, -1) == 1);
        ASN1_TIME_free(stamp);
        check(put, "no time");
    }
}

/// Makes what stands under `kNearlyTime` a second time of signing, which the library does not.
std::string withSecondTime(std::string signature) {
    const std::string prefix = "\x2a\x86\x48\x86\xf7\x0d\x01\x09";
    const std::size_t found = signature.find(prefix + "\x63");
    check(found != std::string::npos, "no second time");
    signature[found + prefix.size()] = 5;
    return signature;
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
    static long serial = 0;
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial);
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
    addExtension(certificate, context, NID_basic_constraints,
                 spec.authority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    addExtension(certificate, context, NID_subject_key_identifier, "hash");
    if (issuer != nullptr) {
        addExtension(certificate, context, NID_authority_key_identifier, "keyid:always");
    }
    addExtension(certificate, context, NID_key_usage, spec.keyUsage);
    addExtension(certificate, context, NID_ext_key_usage, spec.extendedUsage);
    const Identity& signer = issuer != nullptr ? *issuer : made;
    check(X509_sign(certificate, signer.key.get(), EVP_get_digestbyname(spec.digest.c_str())) > 0,
          "no signature");
    return made;
}

std::string sign(std::string_view content, const SignatureSpec& spec) {
    unsigned flags = CMS_BINARY | CMS_PARTIAL;
    flags |= spec.detached ? CMS_DETACHED : 0U;
    flags |= spec.time ? 0U : CMS_NOATTR;
    flags |= spec.withCertificate ? 0U : CMS_NOCERTS;
    const CmsHandle cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags));
    check(cms != nullptr, "no container");
    for (const Identity& signer : spec.signers) {
        addSigner(cms.get(), signer, spec, flags);
    }
    for (const Identity& other : spec.others) {
        check(CMS_add1_cert(cms.get(), other.certificate.get()) == 1, "no certificate");
    }
    const BioHandle bytes = bioOf(content);
    check(spec.signers.empty() || CMS_final(cms.get(), bytes.get(), nullptr, flags) == 1,
          "not signed");
    const BioHandle out(BIO_new(BIO_s_mem()));
    check(i2d_CMS_bio(out.get(), cms.get()) == 1, "not written");
    return spec.secondTime ? withSecondTime(bytesOf(out.get())) : bytesOf(out.get());
}

} // namespace korvel::test
