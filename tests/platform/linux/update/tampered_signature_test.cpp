#include <functional>
#include <ostream>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "platform/linux/update/cms_signature.h"
#include "platform/linux/update/der.h"
#include "platform/linux/update/signing_kit.h"
#include "report/fault_words.h"

namespace korvel {
namespace {

using platform::BundleFault;
using namespace test;

constexpr const char* kText = "what the signature is over\n";

CertificateSpec signerSpec() {
    CertificateSpec spec;
    spec.units = {"7QX4D1K9WB"};
    return spec;
}

/// Who signs here: keys take time to make.
struct Makers {
    Identity root = issue(authoritySpec("Makers"), nullptr);
    Identity team = issue(signerSpec(), &root);
    Identity rsa = [this] {
        CertificateSpec spec = signerSpec();
        spec.key = KeyKind::rsa2048;
        return issue(spec, &root);
    }();
};

const Makers& makers() {
    static const Makers made;
    return made;
}

SignatureSpec specBy(const Identity& signer) {
    SignatureSpec spec;
    spec.signers = {signer};
    return spec;
}

std::string reasonFor(const std::string& signature) {
    const auto signer = platform::verifyCms(signature, kText, makers().root.pem(), kNow);
    return signer ? "good" : wordsOf(signer.error());
}

/// A root whose signatures are all of one length.
const Identity& rsaRoot() {
    static const Identity root = [] {
        CertificateSpec spec = authoritySpec("RSA root");
        spec.key = KeyKind::rsa2048;
        return issue(spec, nullptr);
    }();
    return root;
}

/// By the team, with something done to what is signed.
std::string attributesChanged(const std::function<void(CMS_SignerInfo*)>& change) {
    SignatureSpec spec = specBy(makers().team);
    spec.change = change;
    return sign(kText, spec);
}

/// By a certificate of the team under the root that is odd in one thing.
std::string byOdd(const std::function<void(CertificateSpec&)>& make) {
    CertificateSpec spec = signerSpec();
    make(spec);
    return sign(kText, specBy(issue(spec, &makers().root)));
}

/// By a good certificate under an authority that is odd in one thing.
std::string underOdd(const std::function<void(CertificateSpec&)>& make) {
    CertificateSpec spec = authoritySpec("Odd authority");
    make(spec);
    const Identity authority = issue(spec, &makers().root);
    SignatureSpec signature = specBy(issue(signerSpec(), &authority));
    signature.others = {authority};
    return sign(kText, signature);
}

/// Under so many authorities, each under the one before.
std::string underChain(std::size_t length) {
    SignatureSpec spec;
    Identity above = makers().root;
    for (std::size_t i = 0; i < length; ++i) {
        above = issue(authoritySpec("Authority " + std::to_string(i)), &above);
        spec.others.push_back(above);
    }
    spec.signers = {issue(signerSpec(), &above)};
    return sign(kText, spec);
}

/// With so many certificates, the signer's among them.
std::string withCertificates(std::size_t count) {
    SignatureSpec spec = specBy(makers().team);
    for (std::size_t i = 1; i < count; ++i) {
        spec.others.push_back(issue(signerSpec(), &makers().root));
    }
    return sign(kText, spec);
}

void removeSigned(CMS_SignerInfo* signer, int nid) {
    X509_ATTRIBUTE_free(
        CMS_signed_delete_attr(signer, CMS_signed_get_attr_by_NID(signer, nid, -1)));
}

void addSigned(CMS_SignerInfo* signer, int nid, int type, const void* value, int length = -1) {
    ASSERT_EQ(CMS_signed_add1_attr_by_NID(signer, nid, type, value, length), 1);
}

void addTime(CMS_SignerInfo* signer, const std::string& text, int type = V_ASN1_GENERALIZEDTIME) {
    addSigned(signer, NID_pkcs9_signingTime, type, text.data(), static_cast<int>(text.size()));
}

/// Puts another value beside the one that the attribute has.
void addValue(CMS_SignerInfo* signer, int nid, int type, const std::string& bytes) {
    X509_ATTRIBUTE* const attribute =
        CMS_signed_get_attr(signer, CMS_signed_get_attr_by_NID(signer, nid, -1));
    ASSERT_EQ(
        X509_ATTRIBUTE_set1_data(attribute, type, bytes.data(), static_cast<int>(bytes.size())), 1);
}

void nameAlgorithm(CMS_SignerInfo* signer, int nid) {
    X509_ALGOR* algorithm = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, nullptr, &algorithm);
    ASSERT_EQ(X509_ALGOR_set0(algorithm, OBJ_nid2obj(nid), V_ASN1_UNDEF, nullptr), 1);
}

/// An extension that holds something else than it is to.
void addGarbage(X509* certificate, int nid, const std::string& bytes = "garbage") {
    ASN1_OCTET_STRING* const garbage = ASN1_OCTET_STRING_new();
    ASN1_OCTET_STRING_set(garbage, reinterpret_cast<const unsigned char*>(bytes.data()),
                          static_cast<int>(bytes.size()));
    X509_EXTENSION* const extension = X509_EXTENSION_create_by_NID(nullptr, nid, 1, garbage);
    ASN1_OCTET_STRING_free(garbage);
    ASSERT_EQ(X509_add_ext(certificate, extension, -1), 1);
    X509_EXTENSION_free(extension);
}

/// A signature whose certificate was exchanged for one of the same name and number with a key of
/// that kind, by which it is.
std::string byKeyOfKind(KeyKind kind, int algorithm) {
    CertificateSpec spec = signerSpec();
    spec.serial = 4711;
    const Identity named = issue(spec, &makers().root);
    spec.key = kind;
    const Identity real = issue(spec, &makers().root);
    SignatureSpec signature = specBy(named);
    signature.withCertificate = false;
    signature.others = {real};
    signature.changedBy = real;
    signature.change = [algorithm](CMS_SignerInfo* signer) { nameAlgorithm(signer, algorithm); };
    return sign(kText, signature);
}

std::string bySignatureSpec(const std::function<void(SignatureSpec&)>& make) {
    SignatureSpec spec = specBy(makers().rsa);
    make(spec);
    return sign(kText, spec);
}

/// Of exactly that many bytes, by an extension of a certificate that comes with it.
std::string ofSize(std::size_t size) {
    SignatureSpec spec = specBy(makers().rsa); // whose signatures are all of one length
    const auto with = [&](std::size_t filling) {
        CertificateSpec large = signerSpec();
        large.key = KeyKind::rsa2048;
        large.change = [filling](X509* certificate) {
            addGarbage(certificate, NID_netscape_comment, std::string(filling, 'x'));
        };
        spec.others = {issue(large, &rsaRoot())};
        return sign(kText, spec);
    };
    const std::size_t filling = size / 2;
    const std::string trial = with(filling);
    const std::string made = with(filling + size - trial.size());
    EXPECT_EQ(made.size(), size);
    return made;
}

struct BadSignature {
    const char* name;
    std::function<std::string()> make;
    const char* why;
};

void PrintTo(const BadSignature& row, std::ostream* out) {
    *out << row.name;
}

class TamperedSignature : public testing::TestWithParam<BadSignature> {};

TEST_P(TamperedSignature, IsRefused) {
    EXPECT_EQ(reasonFor(GetParam().make()), GetParam().why);
}

const BadSignature kBadSignatures[] = {
    // Of another kind.
    {"ContainerOfAnotherType",
     [] {
         return bySignatureSpec([](auto& s) {
             s.contentType = NID_pkcs7_signed;
             s.change = [](CMS_SignerInfo* signer) {
                 removeSigned(signer, NID_pkcs9_contentType);
                 addSigned(signer, NID_pkcs9_contentType, V_ASN1_OBJECT,
                           OBJ_nid2obj(NID_pkcs7_data));
             };
         });
     },
     "the signature cannot be read"},
    {"NoSignatureButData",
     [] {
         // Plain data, and what is said to be: a sequence of the type's name and a string.
         const std::string name("\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x01", 11);
         return derElement(0x30, name + derElement('\xa0', derElement(4, kText)));
     },
     "the signature cannot be read"},
    {"MoreThanIsRead", [] { return ofSize(platform::kLargestSignature + 1); },
     "the signature cannot be read"},
    {"ContentTypeAttributeOfAnotherType",
     [] {
         return attributesChanged([](CMS_SignerInfo* signer) {
             removeSigned(signer, NID_pkcs9_contentType);
             addSigned(signer, NID_pkcs9_contentType, V_ASN1_OBJECT, OBJ_nid2obj(NID_pkcs7_signed));
         });
     },
     "the signature cannot be read"},
    {"NoContentTypeAttribute",
     [] {
         return attributesChanged(
             [](CMS_SignerInfo* s) { removeSigned(s, NID_pkcs9_contentType); });
     },
     "the signature cannot be read"},
    {"TwoContentTypeAttributes",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             addSigned(s, NID_pkcs9_contentType, V_ASN1_OBJECT, OBJ_nid2obj(NID_pkcs7_data));
         });
     },
     "the signature cannot be read"},
    {"NoDigestAttribute",
     [] {
         return attributesChanged(
             [](CMS_SignerInfo* s) { removeSigned(s, NID_pkcs9_messageDigest); });
     },
     "the signature is not over this manifest"},
    {"TwoDigestAttributes",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             addSigned(s, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING, "x", 1);
         });
     },
     "the signature is not over this manifest"},
    {"AnotherDigestAttribute",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             removeSigned(s, NID_pkcs9_messageDigest);
             addSigned(s, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING,
                       std::string(32, 'x').c_str(), 32);
         });
     },
     "the signature is not over this manifest"},

    // The time of signing.
    {"TwoTimes",
     [] { return attributesChanged([](CMS_SignerInfo* s) { addTime(s, "20270114000000Z"); }); },
     "the time of signing is not there"},
    {"TwoTimesInOneAttribute",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             addValue(s, NID_pkcs9_signingTime, V_ASN1_GENERALIZEDTIME, "20270114000000Z");
         });
     },
     "the time of signing is not there"},
    {"TheTimeIsText",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             removeSigned(s, NID_pkcs9_signingTime);
             addTime(s, "20270114000000Z", V_ASN1_UTF8STRING);
         });
     },
     "the time of signing is not there"},
    {"TheTimeIsABoolean",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             removeSigned(s, NID_pkcs9_signingTime);
             addSigned(s, NID_pkcs9_signingTime, V_ASN1_BOOLEAN, "true");
         });
     },
     "the time of signing is not there"},
    {"TheTimeIsNone",
     [] {
         return attributesChanged([](CMS_SignerInfo* s) {
             removeSigned(s, NID_pkcs9_signingTime);
             addTime(s, "20271314000000Z");
         });
     },
     "the time of signing is not there"},
    {"NoTime",
     [] {
         return attributesChanged(
             [](CMS_SignerInfo* s) { removeSigned(s, NID_pkcs9_signingTime); });
     },
     "the time of signing is not there"},

    // The algorithm and the kind of key.
    {"RsaPss", [] { return bySignatureSpec([](auto& s) { s.pss = true; }); },
     "the signature's algorithms are not accepted"},
    {"Ed25519", [] { return byKeyOfKind(KeyKind::ed25519, NID_ED25519); },
     "the signature's algorithms are not accepted"},
    {"Dsa", [] { return byKeyOfKind(KeyKind::dsa, NID_dsa_with_SHA256); },
     "the signature's algorithms are not accepted"},
    {"Ed25519NamedRsa", [] { return byKeyOfKind(KeyKind::ed25519, NID_rsaEncryption); },
     "the signature's algorithms are not accepted"},
    {"DsaNamedRsa", [] { return byKeyOfKind(KeyKind::dsa, NID_rsaEncryption); },
     "the signature's algorithms are not accepted"},
    {"EcNamedRsa", [] { return byKeyOfKind(KeyKind::p256, NID_rsaEncryption); },
     "the signature's algorithms are not accepted"},

    // A certificate that is malformed, or not as RFC 5280 wants it.
    {"KeyUsageIsGarbage",
     [] {
         return byOdd([](auto& s) {
             s.keyUsage = "";
             s.change = [](X509* c) { addGarbage(c, NID_key_usage); };
         });
     },
     "the signer's certificate is malformed"},
    {"BasicConstraintsTwice",
     [] {
         return byOdd(
             [](auto& s) { s.change = [](X509* c) { addGarbage(c, NID_basic_constraints); }; });
     },
     "the signer's certificate is malformed"},
    {"ExtensionsInVersion1",
     [] {
         return byOdd(
             [](auto& s) { s.change = [](X509* c) { X509_set_version(c, X509_VERSION_1); }; });
     },
     "the certificate does not lead to the root: Using cert extension requires at least X509v3"},
    {"UnknownCriticalExtension",
     [] {
         return byOdd(
             [](auto& s) { s.change = [](X509* c) { addGarbage(c, NID_netscape_comment); }; });
     },
     "the certificate does not lead to the root: unhandled critical extension"},
    {"NoKeyIdentifier", [] { return byOdd([](auto& s) { s.keyIdentifiers = false; }); },
     "the certificate does not lead to the root: Missing Authority Key Identifier"},
    {"SignsCertificatesButIsNoAuthority",
     [] { return byOdd([](auto& s) { s.keyUsage = "critical,digitalSignature,keyCertSign"; }); },
     "the certificate does not lead to the root: Key usage keyCertSign invalid for non-CA cert"},
    {"CurveWrittenOut", [] { return byOdd([](auto& s) { s.key = KeyKind::explicitP256; }); },
     "the certificate does not lead to the root: Certificate public key has explicit ECC "
     "parameters"},
    {"AuthorityWithoutKeyUsage", [] { return underOdd([](auto& s) { s.keyUsage = ""; }); },
     "the certificate does not lead to the root: CA cert does not include key usage extension"},
    {"AuthorityThatSignsNoCertificates",
     [] { return underOdd([](auto& s) { s.keyUsage = "critical,cRLSign"; }); },
     "the certificate does not lead to the root: invalid CA certificate"},
    {"AuthorityWithConstraintsThatMayBeIgnored",
     [] { return underOdd([](auto& s) { s.basicConstraints = "CA:TRUE"; }); },
     "the certificate does not lead to the root: Basic Constraints of CA cert not marked critical"},
    {"AuthorityOfNoAuthorities",
     [] { return underOdd([](auto& s) { s.basicConstraints = "critical,CA:FALSE"; }); },
     "the certificate does not lead to the root: invalid CA certificate"},
    {"AuthorityWhoseUsageIsGarbage",
     [] {
         return underOdd([](auto& s) {
             s.keyUsage = "";
             s.change = [](X509* c) { addGarbage(c, NID_key_usage); };
         });
     },
     "the certificate does not lead to the root: unable to get local issuer certificate"},
    {"AuthorityCurveWrittenOut",
     [] { return underOdd([](auto& s) { s.key = KeyKind::explicitP256; }); },
     "the certificate does not lead to the root: Certificate public key has explicit ECC "
     "parameters"},

    // Numbers of certificates, and the team.
    {"AuthorityForServers",
     [] { return underOdd([](auto& s) { s.extendedUsage = "serverAuth"; }); },
     "an authority on the way to the root is not meant for code"},
    {"AnEmptyTeam",
     [] {
         return byOdd([](auto& s) {
             s.units = {};
             s.change = [](X509* c) {
                 X509_NAME_ENTRY* const unit = X509_NAME_ENTRY_create_by_NID(
                     nullptr, NID_organizationalUnitName, V_ASN1_UTF8STRING,
                     reinterpret_cast<const unsigned char*>(""), 0);
                 ASSERT_EQ(X509_NAME_add_entry(X509_get_subject_name(c), unit, -1, 0), 1);
                 X509_NAME_ENTRY_free(unit);
             };
         });
     },
     "the signer's certificate names no one team"},

    {"FiveAuthorities", [] { return underChain(5); },
     "the certificate does not lead to the root: certificate chain too long"},
    {"SeventeenCertificates", [] { return withCertificates(17); },
     "the signature holds too many certificates"},
};

INSTANTIATE_TEST_SUITE_P(Each, TamperedSignature, testing::ValuesIn(kBadSignatures),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SignatureBounds, AsManyAuthoritiesAndCertificatesAsAreAllowedAreGood) {
    EXPECT_EQ(reasonFor(underChain(4)), "good");
    EXPECT_EQ(reasonFor(withCertificates(16)), "good");
}

TEST(SignatureBounds, AnAuthorityForCodeOrForAnythingIsGood) {
    for (const char* usage : {"codeSigning", "anyExtendedKeyUsage", "serverAuth,codeSigning"}) {
        EXPECT_EQ(reasonFor(underOdd([&](auto& s) { s.extendedUsage = usage; })), "good") << usage;
    }
}

TEST(SignatureBounds, ItIsReadUpToItsBound) {
    EXPECT_EQ(reasonFor(ofSize(platform::kLargestSignature)), "good");
}

TEST(SignatureBounds, WhatIsSignedIsNoMoreThanAManifestMayBe) {
    const auto reason = [](std::size_t size) {
        const std::string content(size, 'm');
        const std::string signature = sign(content, specBy(makers().team));
        const auto signer = platform::verifyCms(signature, content, makers().root.pem(), kNow);
        return signer ? "good" : wordsOf(signer.error());
    };
    EXPECT_EQ(reason(std::size_t{1} << 20), "good");
    EXPECT_EQ(reason((std::size_t{1} << 20) + 1), "the signature cannot be read");
}

TEST(SignatureEncoding, OnlyDerIsRead) {
    const std::string good = sign(kText, specBy(makers().team));
    ASSERT_EQ(reasonFor(good), "good");
    const std::pair<BerForm, const char*> forms[] = {
        {BerForm::indefinite, "a length that is not told"},
        {BerForm::longLength, "a length in more bytes than it takes"},
        {BerForm::otherOrder, "a set in another order"},
        {BerForm::inPieces, "a string in pieces"}};
    for (const auto& [form, what] : forms) {
        const std::vector<std::string> variants = berVariants(good, form);
        ASSERT_FALSE(variants.empty()) << what;
        for (const std::string& variant : variants) {
            ASSERT_NE(variant, good) << what;
            EXPECT_EQ(reasonFor(variant), "the signature cannot be read") << what;
            EXPECT_FALSE(platform::readCmsClaim(variant)) << what;
        }
    }
}

} // namespace
} // namespace korvel
