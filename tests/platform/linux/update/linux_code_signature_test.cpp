#include <filesystem>
#include <functional>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/update/bundle_description.h"
#include "platform/linux/update/cms_signature.h"
#include "platform/linux/update/linux_code_signature.h"
#include "platform/linux/update/signed_bundle.h"
#include "report/fault_words.h"

namespace korvel {
namespace {

namespace fs = std::filesystem;
using platform::BundleManifest;
using platform::LinuxCodeSignature;
using namespace test;

constexpr std::int64_t kBuild = 42;
constexpr const char* kTeamLine = "TeamIdentifier=7QX4D1K9WB";

Identity member(const std::vector<std::string>& units, const Identity* issuer) {
    CertificateSpec spec;
    spec.units = units;
    return issue(spec, issuer);
}

struct Signers {
    Identity root = issue(authoritySpec("Root"), nullptr);
    Identity foreignRoot = issue(authoritySpec("Root"), nullptr);
    Identity team = member({"7QX4D1K9WB"}, &root);
    Identity other = member({"ZZZZZZZZZZ"}, &root);
};

const Signers& signers() {
    static const Signers made;
    return made;
}

SignatureSpec by(const Identity& signer) {
    SignatureSpec spec;
    spec.signers = {signer};
    return spec;
}

class CodeSignatureOnLinux : public testing::Test {
  protected:
    static LinuxCodeSignature::Options options() {
        LinuxCodeSignature::Options made;
        made.rootPem = signers().root.pem();
        made.runningBuild = kBuild - 1;
        made.now = [] { return kNow; };
        return made;
    }

    /// Empty when the bundle is good, else the reason.
    std::string fault(std::int64_t build = kBuild) {
        const auto verified = signature_.verifyStrictly(bundle_.path(), build);
        return verified ? "" : wordsOf(verified.error());
    }

    std::optional<std::string> description() { return signature_.describe(bundle_.path()); }

    void sealByTeam() const { bundle_.seal(by(signers().team)); }

    SignedBundle bundle_;
    LinuxCodeSignature signature_{options()};
};

TEST_F(CodeSignatureOnLinux, OfTheTeamOverAllThatIsThereIsGood) {
    sealByTeam();
    EXPECT_EQ(fault(), "");
    EXPECT_EQ(description(), "Identifier=com.oxbrook.korvel\nTeamIdentifier=7QX4D1K9WB\n");
}

TEST_F(CodeSignatureOnLinux, NoSignatureIsRefusedAndNotDescribed) {
    EXPECT_EQ(fault(), "the bundle is not signed");
    EXPECT_FALSE(description());
    sealByTeam();
    bundle_.remove("Contents/_CodeSignature/Manifest.p7s");
    EXPECT_EQ(fault(), "the bundle is not signed");
    EXPECT_FALSE(description());
    sealByTeam();
    bundle_.remove("Contents/_CodeSignature/Manifest");
    EXPECT_EQ(fault(), "the bundle is not signed");
    EXPECT_FALSE(description());
    EXPECT_EQ(signature_.verifyStrictly(bundle_.path() + ".gone", kBuild),
              Error{platform::BundleFault::notSigned});
    EXPECT_FALSE(signature_.describe(bundle_.path() + ".gone"));
}

TEST_F(CodeSignatureOnLinux, TwoSignersAreRefusedAndNotDescribed) {
    SignatureSpec spec;
    spec.signers = {signers().team, signers().other};
    bundle_.seal(spec);
    EXPECT_EQ(fault(), "there is not exactly one signer");
    EXPECT_FALSE(description());
}

TEST_F(CodeSignatureOnLinux, AnotherTeamIsDescribedAndRefused) {
    bundle_.seal(by(signers().other));
    EXPECT_EQ(fault(), "the signer is of another team");
    EXPECT_EQ(description(), "Identifier=com.oxbrook.korvel\nTeamIdentifier=ZZZZZZZZZZ\n");
}

TEST_F(CodeSignatureOnLinux, ALongerTeamHasTheTextButIsRefused) {
    bundle_.seal(by(member({"7QX4D1K9WBZ"}, &signers().root)));
    EXPECT_NE(description().value_or("").find(kTeamLine), std::string::npos);
    EXPECT_EQ(fault(), "the signer is of another team");
}

TEST_F(CodeSignatureOnLinux, TwoUnitsAreNoTeam) {
    bundle_.seal(by(member({"7QX4D1K9WB", "ZZZZZZZZZZ"}, &signers().root)));
    EXPECT_EQ(fault(), "the signer's certificate names no one team");
    EXPECT_EQ(description(), "Identifier=com.oxbrook.korvel\nTeamIdentifier=not set\n");
}

TEST_F(CodeSignatureOnLinux, TheTeamWithoutCodeSigningIsRefused) {
    CertificateSpec spec;
    spec.units = {"7QX4D1K9WB"};
    spec.extendedUsage = "serverAuth";
    bundle_.seal(by(issue(spec, &signers().root)));
    EXPECT_EQ(fault(), "the signer's certificate is not meant for code");
    EXPECT_NE(description().value_or("").find(kTeamLine), std::string::npos);
}

TEST_F(CodeSignatureOnLinux, AForeignRootOrNoneWithTheSameTeamIsRefused) {
    for (const Identity* issuer : {&signers().foreignRoot, static_cast<const Identity*>(nullptr)}) {
        bundle_.seal(by(member({"7QX4D1K9WB"}, issuer)));
        EXPECT_EQ(fault().rfind("the certificate does not lead to the root", 0), 0U) << fault();
        EXPECT_NE(description().value_or("").find(kTeamLine), std::string::npos);
    }
}

TEST_F(CodeSignatureOnLinux, WithNoRootBuiltInEverythingIsRefused) {
    sealByTeam();
    auto rootless = options();
    rootless.rootPem.clear();
    LinuxCodeSignature signature(rootless);
    EXPECT_EQ(signature.verifyStrictly(bundle_.path(), kBuild),
              Error{platform::BundleFault::noRoot});
}

TEST_F(CodeSignatureOnLinux, ExpiryIsJudgedAtTheTimeOfSigning) {
    CertificateSpec spec;
    spec.units = {"7QX4D1K9WB"};
    spec.from = kNow - 30 * kDay;
    spec.until = kNow - 10 * kDay;
    SignatureSpec signing = by(issue(spec, &signers().root));
    signing.time = kNow - 20 * kDay;
    bundle_.seal(signing);
    EXPECT_EQ(fault(), "");
    signing.time = kNow - 5 * kDay;
    bundle_.seal(signing);
    EXPECT_EQ(fault(), "the certificate does not lead to the root: certificate has expired");
    signing.time = std::nullopt;
    bundle_.seal(signing);
    EXPECT_EQ(fault(), "the time of signing is not there");
}

/// One thing done to a bundle after it was sealed, and what is said of it.
struct Tampering {
    const char* name;
    std::function<void(const SignedBundle&)> act;
    const char* why;
};

class TamperedBundle : public CodeSignatureOnLinux,
                       public testing::WithParamInterface<Tampering> {};

TEST_P(TamperedBundle, IsRefused) {
    sealByTeam();
    ASSERT_EQ(fault(), "");
    GetParam().act(bundle_);
    EXPECT_EQ(fault(), GetParam().why);
}

constexpr const char* kProgram = "Contents/Linux/korvel";

const Tampering kTamperings[] = {
    {"OneByteChanged", [](const auto& b) { b.write(kProgram, "the progrbm\n", 0755); },
     "Contents/Linux/korvel: is changed"},
    {"OneByteMore", [](const auto& b) { b.write(kProgram, "the program\n\n", 0755); },
     "Contents/Linux/korvel: is changed"},
    {"InfoPlistChanged",
     [](const auto& b) {
         b.write("Contents/Info.plist", SignedBundle::infoPlist("com.oxbrook.korvel", "1.4.1"));
     },
     "Contents/Info.plist: is changed"},
    {"FileAdded", [](const auto& b) { b.write("Contents/Linux/libhelper.so", "x"); },
     "Contents/Linux/libhelper.so: is not in the manifest"},
    {"FileAddedBesideTheSignature",
     [](const auto& b) { b.write("Contents/_CodeSignature/Manifest.old", "x"); },
     "Contents/_CodeSignature/Manifest.old: is not in the manifest"},
    {"FileAddedBesideContents", [](const auto& b) { b.write("korvel", "x"); },
     "korvel: is not in the manifest"},
    {"EmptyFolderAdded",
     [](const auto& b) {
         fs::create_directory(b.file("Contents/Empty"));
         b.mode("Contents/Empty", 0755);
     },
     "Contents/Empty: is not in the manifest"},
    {"FileRemoved", [](const auto& b) { b.remove("Contents/Resources/com.oxbrook.korvel.svg"); },
     "Contents/Resources/com.oxbrook.korvel.svg: is missing"},
    {"InfoPlistRemoved", [](const auto& b) { b.remove("Contents/Info.plist"); },
     "Contents/Info.plist: is missing"},
    {"ModeChanged", [](const auto& b) { b.mode(kProgram, 0644); },
     "Contents/Linux/korvel: has another mode"},
    {"FolderModeChanged", [](const auto& b) { b.mode("Contents/Linux", 0700); },
     "Contents/Linux: has another mode"},
    {"BundleModeChanged", [](const auto& b) { b.mode(".", 0700); }, ".: has another mode"},
    {"OthersMayWrite", [](const auto& b) { b.mode(kProgram, 0777); },
     "Contents/Linux/korvel: has the mode 777"},
    {"RunsAsAnother", [](const auto& b) { b.mode(kProgram, 04755); },
     "Contents/Linux/korvel: has the mode 4755"},
    {"FileMadeALink",
     [](const auto& b) {
         b.write("Contents/Resources/copy", "the program\n");
         b.remove(kProgram);
         fs::create_symlink("../Resources/copy", b.file(kProgram));
     },
     "Contents/Linux/korvel: is of another kind"},
    {"LinkTurned",
     [](const auto& b) {
         b.remove("Contents/Resources/icon");
         fs::create_symlink("../Info.plist", b.file("Contents/Resources/icon"));
     },
     "Contents/Resources/icon: leads elsewhere"},
    {"LinkToAnAbsolutePath",
     [](const auto& b) { fs::create_symlink("/etc/passwd", b.file("Contents/Resources/p")); },
     "Contents/Resources/p: is a link that leaves the bundle"},
    {"LinkUpAndOut",
     [](const auto& b) { fs::create_symlink("../../../x", b.file("Contents/Resources/p")); },
     "Contents/Resources/p: is a link that leaves the bundle"},
    {"FolderMadeALink",
     [](const auto& b) {
         fs::rename(b.file("Contents/Resources"), b.path() + ".resources");
         fs::create_symlink("../../Korvel.app.resources", b.file("Contents/Resources"));
     },
     "Contents/Resources: is a link that leaves the bundle"},
    {"ContentsMadeALink",
     [](const auto& b) {
         fs::rename(b.file("Contents"), b.path() + ".contents");
         fs::create_symlink("../Korvel.app.contents", b.file("Contents"));
     },
     "the bundle is not signed"},
    {"BundleMadeALink",
     [](const auto& b) {
         fs::rename(b.path(), b.path() + ".real");
         fs::create_symlink("Korvel.app.real", b.path());
     },
     "the bundle is not signed"},
    {"HardLink",
     [](const auto& b) { fs::create_hard_link(b.file(kProgram), b.path() + ".korvel"); },
     "Contents/Linux/korvel: is a hard link"},
    {"SignatureMadeALink",
     [](const auto& b) {
         const std::string signature = b.file("Contents/_CodeSignature/Manifest.p7s");
         fs::rename(signature, b.path() + ".p7s");
         fs::create_symlink("../../../Korvel.app.p7s", signature);
     },
     "the bundle is not signed"},
    {"FileCutShort", [](const auto& b) { fs::resize_file(b.file(kProgram), 5); },
     "Contents/Linux/korvel: is changed"},
    {"FileEmptied", [](const auto& b) { fs::resize_file(b.file(kProgram), 0); },
     "Contents/Linux/korvel: is changed"},
    {"FilesExchanged",
     [](const auto& b) {
         const std::string icon = b.file("Contents/Resources/com.oxbrook.korvel.svg");
         fs::rename(icon, b.path() + ".icon");
         fs::rename(b.file("Contents/Info.plist"), icon);
         fs::rename(b.path() + ".icon", b.file("Contents/Info.plist"));
     },
     "Contents/Info.plist: is changed"},
    {"FileRenamed",
     [](const auto& b) { fs::rename(b.file(kProgram), b.file("Contents/Linux/Korvel")); },
     "Contents/Linux/korvel: is missing"},
    {"FileOfTheSameNameInCapitals",
     [](const auto& b) { b.write("Contents/info.plist", SignedBundle::infoPlist()); },
     "Contents/info.plist: is not in the manifest"},
    {"FileWithANameThatIsNotPlain", [](const auto& b) { b.write("Contents/a\nb", "x"); },
     ".: holds a name that is not plain"},
    {"FileMadeAFolder",
     [](const auto& b) {
         b.remove(kProgram);
         fs::create_directory(b.file(kProgram));
         b.mode(kProgram, 0755);
     },
     "Contents/Linux/korvel: is of another kind"},
    {"FolderMadeAFile",
     [](const auto& b) {
         b.remove("Contents/Resources");
         b.write("Contents/Resources", "x");
     },
     "Contents/Resources: is of another kind"},
    {"LinkMadeAFile",
     [](const auto& b) {
         b.remove("Contents/Resources/icon");
         b.write("Contents/Resources/icon", "<svg/>\n");
     },
     "Contents/Resources/icon: is of another kind"},
    {"LinkAdded",
     [](const auto& b) { fs::create_symlink("icon", b.file("Contents/Resources/icon2")); },
     "Contents/Resources/icon2: is not in the manifest"},
    {"LinkRemoved", [](const auto& b) { b.remove("Contents/Resources/icon"); },
     "Contents/Resources/icon: is missing"},
    {"PipeAdded", [](const auto& b) { ::mkfifo(b.file("Contents/pipe").c_str(), 0644); },
     "Contents/pipe: is neither file, folder nor link"},
    {"PipeForTheProgram",
     [](const auto& b) {
         b.remove(kProgram);
         ::mkfifo(b.file(kProgram).c_str(), 0755);
     },
     "Contents/Linux/korvel: is neither file, folder nor link"},
    {"GroupMayWriteAFolder", [](const auto& b) { b.mode("Contents/Resources", 0775); },
     "Contents/Resources: has the mode 775"},
    {"StickyFolder", [](const auto& b) { b.mode("Contents/Resources", 01755); },
     "Contents/Resources: has the mode 1755"},
    {"RunsAsAnotherGroup", [](const auto& b) { b.mode(kProgram, 02755); },
     "Contents/Linux/korvel: has the mode 2755"},
    {"MadeAProgram", [](const auto& b) { b.mode("Contents/Info.plist", 0755); },
     "Contents/Info.plist: has another mode"},
    {"ManifestRemoved", [](const auto& b) { b.remove("Contents/_CodeSignature/Manifest"); },
     "the bundle is not signed"},
    {"ManifestEmptied", [](const auto& b) { b.write("Contents/_CodeSignature/Manifest", ""); },
     "the signature is not over this manifest"},
    {"ManifestMadeALink",
     [](const auto& b) {
         const std::string manifest = b.file("Contents/_CodeSignature/Manifest");
         fs::rename(manifest, b.path() + ".manifest");
         fs::create_symlink("../../../Korvel.app.manifest", manifest);
     },
     "the bundle is not signed"},
    {"ManifestIsAHardLink",
     [](const auto& b) {
         fs::create_hard_link(b.file("Contents/_CodeSignature/Manifest"), b.path() + ".manifest");
     },
     "the bundle is not signed"},
    {"ManifestWithOtherLineEnds",
     [](const auto& b) {
         std::string text = *platform::writeManifest(b.manifest());
         for (std::size_t at = text.find('\n'); at != std::string::npos;
              at = text.find('\n', at + 2)) {
             text.replace(at, 1, "\r\n");
         }
         b.write("Contents/_CodeSignature/Manifest", text);
     },
     "the signature is not over this manifest"},
    {"SignatureRemoved", [](const auto& b) { b.remove("Contents/_CodeSignature/Manifest.p7s"); },
     "the bundle is not signed"},
    {"SignatureEmptied", [](const auto& b) { b.write("Contents/_CodeSignature/Manifest.p7s", ""); },
     "the signature cannot be read"},
    {"SignatureOfAnotherManifest",
     [](const auto& b) {
         b.write("Contents/_CodeSignature/Manifest.p7s", sign("other", by(signers().team)));
     },
     "the signature is not over this manifest"},
    {"SignatureTooLarge",
     [](const auto& b) {
         fs::resize_file(b.file("Contents/_CodeSignature/Manifest.p7s"),
                         platform::kLargestSignature + 1);
     },
     "the bundle is not signed"},
    {"SignatureFolderRenamed",
     [](const auto& b) {
         fs::rename(b.file("Contents/_CodeSignature"), b.file("Contents/_codesignature"));
     },
     "the bundle is not signed"},
    {"BytesAfterTheManifest",
     [](const auto& b) {
         std::ofstream(b.file("Contents/_CodeSignature/Manifest"), std::ios::app) << "\n";
     },
     "the signature is not over this manifest"},
    {"AnotherManifest",
     [](const auto& b) {
         BundleManifest manifest = b.manifest();
         manifest.version = "1.4.1";
         b.write("Contents/_CodeSignature/Manifest", *platform::writeManifest(manifest));
     },
     "the signature is not over this manifest"},
    {"BytesAfterTheSignature",
     [](const auto& b) {
         std::ofstream(b.file("Contents/_CodeSignature/Manifest.p7s"), std::ios::app) << "\n";
     },
     "the signature cannot be read"},
};

INSTANTIATE_TEST_SUITE_P(Each, TamperedBundle, testing::ValuesIn(kTamperings),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CodeSignatureOnLinux, TheSignedManifestIsOneThatIsWritten) {
    const std::string text = *platform::writeManifest(bundle_.manifest());
    for (const std::string& other : {text + "\n", text + "comment\n",
                                     text.substr(0, text.size() - 1), "\n" + text, std::string()}) {
        bundle_.sealText(other, by(signers().team));
        EXPECT_EQ(fault(), "the manifest cannot be read") << other;
        EXPECT_FALSE(description());
    }
}

TEST_F(CodeSignatureOnLinux, ALinkOutOfTheBundleIsRefusedHoweverItIsSigned) {
    const std::string text = *platform::writeManifest(bundle_.manifest());
    fs::create_symlink("/etc/passwd", bundle_.file("Contents/Resources/passwd"));
    const std::string listed = "link\tContents/Resources/passwd\t/etc/passwd\n";
    const std::size_t place = text.find("folder\t755\tContents/_CodeSignature");
    ASSERT_NE(place, std::string::npos);
    bundle_.sealText(std::string(text).insert(place, listed), by(signers().team));
    EXPECT_EQ(fault(), "the manifest cannot be read");
}

TEST_F(CodeSignatureOnLinux, AnotherProgramOfTheTeamIsRefused) {
    bundle_.write("Contents/Info.plist", SignedBundle::infoPlist("com.oxbrook.other"));
    BundleManifest manifest = bundle_.manifest();
    manifest.identifier = "com.oxbrook.other";
    bundle_.seal(manifest, by(signers().team));
    EXPECT_EQ(fault(), "the bundle is another program");
}

TEST_F(CodeSignatureOnLinux, AnOlderSignedBuildIsNotPassedOffAsNew) {
    sealByTeam();
    EXPECT_EQ(fault(kBuild + 1), "the bundle is another build");
    auto running = options();
    for (const std::int64_t build : {kBuild, kBuild + 1}) {
        running.runningBuild = build;
        EXPECT_EQ(LinuxCodeSignature(running).verifyStrictly(bundle_.path(), kBuild),
                  Error{platform::BundleFault::notNewer});
    }
    EXPECT_EQ(fault(), "");
}

TEST_F(CodeSignatureOnLinux, NoBuildIsTakenAfterALaterOneWasInstalled) {
    sealByTeam();
    signature_.installed(kBuild - 2);
    EXPECT_EQ(fault(), "");
    signature_.installed(kBuild + 1);
    signature_.installed(kBuild - 1);
    EXPECT_EQ(signature_.verifyStrictly(bundle_.path(), kBuild),
              Error{platform::BundleFault::notNewer});
}

TEST_F(CodeSignatureOnLinux, InfoPlistAgreesWithTheManifest) {
    const std::string id = "com.oxbrook.korvel";
    for (const std::string& text :
         {SignedBundle::infoPlist("com.oxbrook.other"), SignedBundle::infoPlist(id, "1.4.1"),
          SignedBundle::infoPlist(id, "1.4.0", "43"), SignedBundle::infoPlist(id, "1.4.0", "042"),
          SignedBundle::infoPlist(id, "1.4.0", "42", "other"), std::string("garbage"),
          std::string()}) {
        bundle_.write("Contents/Info.plist", text);
        sealByTeam();
        EXPECT_EQ(fault(), "Contents/Info.plist: does not agree with the manifest") << text;
    }
    bundle_.remove("Contents/Info.plist");
    sealByTeam();
    EXPECT_EQ(fault(), "Contents/Info.plist: does not agree with the manifest");
}

TEST_F(CodeSignatureOnLinux, InfoPlistIsTheListedOneWhenItIsReadAgain) {
    const BundleManifest manifest = bundle_.manifest();
    EXPECT_TRUE(platform::checkDescription(bundle_.path(), manifest));
    const Error differs{platform::BundleFault::descriptionDiffers, "Contents/Info.plist"};
    // It says the same, in other bytes.
    bundle_.write("Contents/Info.plist", SignedBundle::infoPlist() + "\n");
    EXPECT_EQ(platform::checkDescription(bundle_.path(), manifest), differs);
    bundle_.remove("Contents/Info.plist");
    EXPECT_EQ(platform::checkDescription(bundle_.path(), manifest), differs);
    BundleManifest without = manifest;
    without.entries.erase("Contents/Info.plist");
    bundle_.write("Contents/Info.plist", SignedBundle::infoPlist());
    EXPECT_TRUE(platform::checkDescription(bundle_.path(), manifest));
    EXPECT_EQ(platform::checkDescription(bundle_.path(), without), differs);
}

TEST_F(CodeSignatureOnLinux, ThereIsAProgramToStart) {
    bundle_.mode(kProgram, 0644);
    sealByTeam();
    EXPECT_EQ(fault(), "Contents/Linux/korvel: is no program");
    bundle_.remove(kProgram);
    sealByTeam();
    EXPECT_EQ(fault(), "Contents/Linux/korvel: is no program");
    fs::create_symlink("../Info.plist", bundle_.file(kProgram));
    sealByTeam();
    EXPECT_EQ(fault(), "Contents/Linux/korvel: is no program");
    bundle_.remove(kProgram);
    fs::create_directory(bundle_.file(kProgram));
    bundle_.mode(kProgram, 0755);
    sealByTeam();
    EXPECT_EQ(fault(), "Contents/Linux/korvel: is no program");
}

} // namespace
} // namespace korvel
