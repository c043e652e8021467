#include <functional>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>

#include "platform/linux/update/cms_signature.h"
#include "platform/linux/update/signing_kit.h"
#include "report/fault_words.h"

namespace korvel {
namespace {

using platform::readCmsClaim;
using platform::verifyCms;
using namespace test;

constexpr const char* kTeam = "7QX4D1K9WB";
constexpr const char* kContent = "what is signed\n";

CertificateSpec teamSpec(std::vector<std::string> units = {kTeam}) {
    CertificateSpec spec;
    spec.units = std::move(units);
    return spec;
}

/// What the tests share: keys take time to make.
struct World {
    Identity root = issue(authoritySpec("Root"), nullptr);
    Identity foreignRoot = issue(authoritySpec("Root"), nullptr);
    Identity authority = issue(authoritySpec("Authority"), &root);
    Identity team = issue(teamSpec(), &root);
    Identity other = issue(teamSpec({"ZZZZZZZZZZ"}), &root);
};

const World& world() {
    static const World made;
    return made;
}

/// Empty when it is good, else the reason.
std::string faultOf(const std::string& signature, const std::string& content = kContent,
                    const std::string& root = world().root.pem()) {
    const auto signer = verifyCms(signature, content, root, kNow);
    return signer ? "" : wordsOf(signer.error());
}

std::string signedBy(const Identity& signer, const std::vector<Identity>& others = {}) {
    SignatureSpec spec;
    spec.signers = {signer};
    spec.others = others;
    return sign(kContent, spec);
}

std::string teamSignature() {
    return signedBy(world().team);
}

constexpr const char* kNoWay = "the certificate does not lead to the root: ";

TEST(CmsSignature, OneOfTheTeamUnderTheRootIsGood) {
    const auto signer = verifyCms(teamSignature(), kContent, world().root.pem(), kNow);
    ASSERT_TRUE(signer) << wordsOf(signer.error());
    EXPECT_EQ(signer->team, kTeam);
    EXPECT_EQ(signer->signedAt, kNow - kDay);
}

TEST(CmsSignature, OneWithAnRsaKeyIsGood) {
    CertificateSpec spec = teamSpec();
    spec.key = KeyKind::rsa2048;
    EXPECT_EQ(faultOf(signedBy(issue(spec, &world().root))), "");
}

TEST(CmsSignature, OneOverAnAuthorityThatComesWithItIsGood) {
    const Identity team = issue(teamSpec(), &world().authority);
    EXPECT_EQ(faultOf(signedBy(team, {world().authority})), "");
    EXPECT_EQ(faultOf(signedBy(team)),
              kNoWay + std::string("unable to get local issuer certificate"));
}

TEST(CmsSignature, StrongerDigestsAreGoodAndWeakerOnesAreNot) {
    CertificateSpec certificate = teamSpec();
    certificate.key = KeyKind::rsa2048;
    SignatureSpec spec;
    spec.signers = {issue(certificate, &world().root)};
    for (const char* digest : {"SHA384", "SHA512"}) {
        spec.digest = digest;
        EXPECT_EQ(faultOf(sign(kContent, spec)), "") << digest;
    }
    for (const char* digest : {"MD5", "SHA1", "SHA224"}) {
        spec.digest = digest;
        EXPECT_EQ(faultOf(sign(kContent, spec)), "the signature's algorithms are not accepted")
            << digest;
    }
}

TEST(CmsSignature, TheTwoAlgorithmsThatItNamesGoTogether) {
    // The last place that names ECDSA with SHA-256 is the signer's, which is not itself signed.
    std::string signature = teamSignature();
    const std::size_t name = signature.rfind("\x2a\x86\x48\xce\x3d\x04\x03\x02");
    ASSERT_NE(name, std::string::npos);
    for (const char digest : {'\x01', '\x03'}) { // SHA-224, SHA-384
        signature[name + 7] = digest;
        EXPECT_EQ(faultOf(signature), "the signature's algorithms are not accepted");
    }
}

TEST(CmsSignature, ItIsOverTheseBytesOnly) {
    constexpr const char* kReason = "the signature is not over this manifest";
    EXPECT_EQ(faultOf(teamSignature(), "what is signed!"), kReason);
    EXPECT_EQ(faultOf(teamSignature(), "what is signed\n\n"), kReason);
    EXPECT_EQ(faultOf(teamSignature(), "what is signed\r\n"), kReason);
    EXPECT_EQ(faultOf(teamSignature(), "what is signed"), kReason);
    EXPECT_EQ(faultOf(teamSignature(), ""), kReason);
}

TEST(CmsSignature, NoBitOfTheSignatureItselfCanBeTurned) {
    const std::string good = teamSignature();
    // The signature's value is what a signature ends with.
    for (std::size_t i = good.size() - 32; i < good.size(); ++i) {
        std::string turned = good;
        turned[i] = static_cast<char>(turned[i] ^ 1);
        EXPECT_NE(faultOf(turned), "") << i;
    }
}

TEST(CmsSignature, CutAnywhereItCannotBeRead) {
    const std::string good = teamSignature();
    for (std::size_t length = 0; length < good.size(); ++length) {
        const std::string cut = good.substr(0, length);
        EXPECT_EQ(faultOf(cut), "the signature cannot be read") << length;
        EXPECT_FALSE(readCmsClaim(cut)) << length;
    }
}

TEST(CmsSignature, OnlyItselfIsRead) {
    constexpr const char* kReason = "the signature cannot be read";
    EXPECT_EQ(faultOf(teamSignature() + "x"), kReason);
    EXPECT_FALSE(readCmsClaim(teamSignature() + "x"));
    EXPECT_EQ(faultOf("garbage"), kReason);
    EXPECT_EQ(faultOf(std::string((1U << 20U) + 1, '0')), kReason);
    SignatureSpec attached;
    attached.signers = {world().team};
    attached.detached = false;
    EXPECT_EQ(faultOf(sign(kContent, attached)), kReason);
}

TEST(CmsSignature, ItHasExactlyOneSigner) {
    constexpr const char* kReason = "there is not exactly one signer";
    SignatureSpec spec;
    EXPECT_EQ(faultOf(sign(kContent, spec)), kReason);
    EXPECT_FALSE(readCmsClaim(sign(kContent, spec)));
    spec.signers = {world().team, world().other};
    EXPECT_EQ(faultOf(sign(kContent, spec)), kReason);
    EXPECT_FALSE(readCmsClaim(sign(kContent, spec)));
    spec.signers = {world().team, issue(teamSpec(), &world().root)};
    EXPECT_EQ(faultOf(sign(kContent, spec)), kReason);
}

TEST(CmsSignature, TheSignersCertificateIsInIt) {
    SignatureSpec spec;
    spec.signers = {world().team};
    spec.withCertificate = false;
    EXPECT_EQ(faultOf(sign(kContent, spec)), "the signer's certificate is not there");
    const auto claim = readCmsClaim(sign(kContent, spec));
    ASSERT_TRUE(claim);
    EXPECT_FALSE(claim->team);
}

TEST(CmsSignature, TheTeamIsTheOneUnit) {
    struct Case {
        std::vector<std::string> units;
        std::optional<std::string> team;
    };
    for (const Case& each : std::vector<Case>{{{"7QX4D1K9WBZ"}, "7QX4D1K9WBZ"},
                                              {{"Größe"}, "Größe"},
                                              {{}, std::nullopt},
                                              {{kTeam, kTeam}, std::nullopt},
                                              {{kTeam, "ZZZZZZZZZZ"}, std::nullopt},
                                              {{"7QX4D1K9WB\nx"}, std::nullopt},
                                              {{std::string("7QX4D1K9WB\0", 11)}, std::nullopt}}) {
        const std::string signature = signedBy(issue(teamSpec(each.units), &world().root));
        const auto signer = verifyCms(signature, kContent, world().root.pem(), kNow);
        const auto claim = readCmsClaim(signature);
        ASSERT_TRUE(claim);
        EXPECT_EQ(claim->team, each.team);
        EXPECT_EQ(signer ? std::optional(signer->team) : std::nullopt, each.team);
        if (!each.team) {
            EXPECT_EQ(signer, Error{platform::BundleFault::signerNotOfOneTeam});
        }
    }
}

/// A signer's certificate with one thing wrong, and what is said of it.
struct BadSigner {
    const char* name;
    std::function<Identity()> make;
    std::string why;
};

Identity changed(const std::function<void(CertificateSpec&)>& change,
                 const Identity* issuer = &world().root) {
    CertificateSpec spec = teamSpec();
    change(spec);
    return issue(spec, issuer);
}

TEST(CmsSignature, OnlyACertificateForCodeSigns) {
    constexpr const char* kNotCode = "the signer's certificate is not meant for code";
    const std::vector<BadSigner> cases = {
        {"no extended usage", [] { return changed([](auto& s) { s.extendedUsage = ""; }); },
         kNotCode},
        {"for servers", [] { return changed([](auto& s) { s.extendedUsage = "serverAuth"; }); },
         kNotCode},
        {"for mail", [] { return changed([](auto& s) { s.extendedUsage = "emailProtection"; }); },
         kNotCode},
        {"for anything",
         [] { return changed([](auto& s) { s.extendedUsage = "anyExtendedKeyUsage"; }); },
         kNotCode},
        {"key for encryption",
         [] { return changed([](auto& s) { s.keyUsage = "keyEncipherment"; }); },
         "the signer's certificate is not meant for signatures"},
        {"an authority",
         [] {
             return changed([](auto& s) {
                 s.authority = true;
                 s.keyUsage = "critical,digitalSignature,keyCertSign";
             });
         },
         "the signer is an authority"},
    };
    for (const BadSigner& each : cases) {
        EXPECT_EQ(faultOf(signedBy(each.make())), each.why) << each.name;
    }
    EXPECT_EQ(faultOf(signedBy(changed([](auto& s) { s.keyUsage = ""; }))), "");
    EXPECT_EQ(
        faultOf(signedBy(changed([](auto& s) { s.extendedUsage = "serverAuth,codeSigning"; }))),
        "");
}

TEST(CmsSignature, TheCertificateLeadsToTheRoot) {
    const Identity leaf = world().team;
    const Identity limited = [] {
        CertificateSpec spec = authoritySpec("Servers");
        spec.extendedUsage = "serverAuth";
        return issue(spec, &world().root);
    }();
    const Identity weak = [] {
        CertificateSpec spec = authoritySpec("Weak");
        spec.key = KeyKind::rsa1024;
        return issue(spec, &world().root);
    }();
    const Identity stranger = issue(authoritySpec("Authority"), &world().foreignRoot);
    struct Case {
        const char* name;
        Identity signer;
        std::vector<Identity> others;
        std::string why;
    };
    const auto none = [](auto&) {};
    const std::string notFound = kNoWay + std::string("unable to get local issuer certificate");
    for (const Case& each : std::vector<Case>{
             {"foreign root, same names", changed(none, &world().foreignRoot), {}, notFound},
             {"foreign root comes with it",
              changed(none, &world().foreignRoot),
              {world().foreignRoot},
              kNoWay + std::string("self-signed certificate in certificate chain")},
             {"foreign authority",
              changed(none, &stranger),
              {stranger, world().authority},
              notFound},
             {"signed by itself",
              changed(none, nullptr),
              {},
              kNoWay + std::string("self-signed certificate")},
             {"under another leaf",
              changed(none, &leaf),
              {leaf},
              kNoWay + std::string("invalid CA certificate")},
             {"under an authority for servers",
              changed(none, &limited),
              {limited},
              "an authority on the way to the root is not meant for code"},
             {"weak key",
              changed([](auto& s) { s.key = KeyKind::rsa1024; }),
              {},
              kNoWay + std::string("EE certificate key too weak")},
             {"short curve",
              changed([](auto& s) { s.key = KeyKind::p192; }),
              {},
              kNoWay + std::string("EE certificate key too weak")},
             {"authority's weak key",
              changed(none, &weak),
              {weak},
              kNoWay + std::string("CA certificate key too weak")},
             {"weak digest",
              changed([](auto& s) { s.digest = "SHA1"; }),
              {},
              kNoWay + std::string("CA signature digest algorithm too weak")},
         }) {
        EXPECT_EQ(faultOf(signedBy(each.signer, each.others)), each.why) << each.name;
    }
}

TEST(CmsSignature, TheRootIsExactlyOneCertificate) {
    constexpr const char* kReason = "there is no root to trust";
    EXPECT_EQ(faultOf(teamSignature(), kContent, ""), kReason);
    EXPECT_EQ(faultOf(teamSignature(), kContent, "garbage"), kReason);
    EXPECT_EQ(faultOf(teamSignature(), kContent, world().foreignRoot.pem() + world().root.pem()),
              kReason);
    EXPECT_EQ(faultOf(teamSignature(), kContent, world().foreignRoot.pem()),
              kNoWay + std::string("unable to get local issuer certificate"));
    // What was signed with is no root, even when it is named as one.
    EXPECT_NE(faultOf(teamSignature(), kContent, world().team.pem()), "");
}

TEST(CmsSignature, CertificatesAreToBeValidAtTheTimeOfSigning) {
    struct Case {
        const char* name;
        std::int64_t from;
        std::int64_t until;
        std::int64_t time;
        std::string why;
    };
    const std::string expired = kNoWay + std::string("certificate has expired");
    const std::string early = kNoWay + std::string("certificate is not yet valid");
    for (const Case& each : std::vector<Case>{
             {"expired at signing", kNow - 9 * kDay, kNow - 5 * kDay, kNow - 4 * kDay, expired},
             {"expired a second before", kNow - 9 * kDay, kNow - 5 * kDay, kNow - 5 * kDay + 1,
              expired},
             {"valid at signing, expired now", kNow - 9 * kDay, kNow - 5 * kDay, kNow - 6 * kDay,
              ""},
             {"not yet valid", kNow + kDay, kNow + 9 * kDay, kNow, early},
             {"signed before it was valid", kNow - 5 * kDay, kNow + 9 * kDay, kNow - 6 * kDay,
              early},
             {"a clock that is a day slow", kNow - kDay, kNow + 9 * kDay, kNow + kDay, ""},
             {"in the future", kNow - kDay, kNow + 9 * kDay, kNow + kDay + 1,
              "the time of signing is in the future"},
         }) {
        CertificateSpec certificate = teamSpec();
        certificate.from = each.from;
        certificate.until = each.until;
        SignatureSpec spec;
        spec.signers = {issue(certificate, &world().root)};
        spec.time = each.time;
        EXPECT_EQ(faultOf(sign(kContent, spec)), each.why) << each.name;
    }
}

TEST(CmsSignature, AuthoritiesAreToBeValidAtTheTimeOfSigning) {
    CertificateSpec spec = authoritySpec("Late");
    spec.from = kNow;
    const Identity late = issue(spec, &world().root);
    EXPECT_EQ(faultOf(signedBy(issue(teamSpec(), &late), {late})),
              kNoWay + std::string("certificate is not yet valid"));
}

TEST(CmsSignature, TheTimeOfSigningIsThereOnce) {
    constexpr const char* kReason = "the time of signing is not there";
    SignatureSpec spec;
    spec.signers = {world().team};
    spec.time = std::nullopt;
    EXPECT_EQ(faultOf(sign(kContent, spec)), kReason);
}

TEST(CmsSignature, TheListOfErrorsStaysAsItWas) {
    ERR_clear_error();
    EXPECT_NE(faultOf("garbage"), "");
    EXPECT_NE(faultOf(teamSignature(), "other"), "");
    EXPECT_EQ(faultOf(teamSignature()), "");
    readCmsClaim("garbage");
    EXPECT_EQ(ERR_peek_error(), 0UL);
    ERR_raise(ERR_LIB_USER, 1);
    EXPECT_NE(faultOf("garbage"), "");
    EXPECT_EQ(ERR_GET_LIB(ERR_get_error()), ERR_LIB_USER);
    EXPECT_EQ(ERR_peek_error(), 0UL);
}

} // namespace
} // namespace korvel
