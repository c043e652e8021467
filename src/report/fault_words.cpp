#include "report/fault_words.h"

#include "base/fatal.h"

namespace korvel {

using platform::ArchiveFault;
using platform::BundleFault;

namespace {

/// Without what the error is about.
std::string reasonOf(const Error<BundleFault>& error) {
    switch (error.code) {
    case BundleFault::refusedByTool:
        return "the system does not accept its signature";
    case BundleFault::noTool:
        return "its signature cannot be looked at";
    case BundleFault::notSigned:
        return "the bundle is not signed";
    case BundleFault::noRoot:
        return "there is no root to trust";
    case BundleFault::signatureMalformed:
        return "the signature cannot be read";
    case BundleFault::notOneSigner:
        return "there is not exactly one signer";
    case BundleFault::certificateMissing:
        return "the signer's certificate is not there";
    case BundleFault::tooManyCertificates:
        return "the signature holds too many certificates";
    case BundleFault::weakAlgorithms:
        return "the signature's algorithms are not accepted";
    case BundleFault::timeMissing:
        return "the time of signing is not there";
    case BundleFault::timeInFuture:
        return "the time of signing is in the future";
    case BundleFault::certificateMalformed:
        return "the signer's certificate is malformed";
    case BundleFault::signerIsAuthority:
        return "the signer is an authority";
    case BundleFault::signerNotForCode:
        return "the signer's certificate is not meant for code";
    case BundleFault::signerNotForSigning:
        return "the signer's certificate is not meant for signatures";
    case BundleFault::signerNotOfOneTeam:
        return "the signer's certificate names no one team";
    case BundleFault::libraryFailed:
        return "the library failed";
    case BundleFault::notUnderRoot:
        return "the certificate does not lead to the root";
    case BundleFault::authorityNotForCode:
        return "an authority on the way to the root is not meant for code";
    case BundleFault::notOverManifest:
        return "the signature is not over this manifest";
    case BundleFault::otherTeam:
        return "the signer is of another team";
    case BundleFault::manifestMalformed:
        return "the manifest cannot be read";
    case BundleFault::otherProgram:
        return "the bundle is another program";
    case BundleFault::otherBuild:
        return "the bundle is another build";
    case BundleFault::notNewer:
        return "the bundle is not newer than this program";
    case BundleFault::descriptionDiffers:
        return "does not agree with the manifest";
    case BundleFault::descriptionUnfit:
        return "its identifier, version or build is not as it is to be";
    case BundleFault::manifestTooLarge:
        return "the manifest would be too large";
    case BundleFault::notAProgram:
        return "is no program";
    case BundleFault::missing:
        return "is missing";
    case BundleFault::otherKind:
        return "is of another kind";
    case BundleFault::otherMode:
        return "has another mode";
    case BundleFault::otherTarget:
        return "leads elsewhere";
    case BundleFault::changed:
        return "is changed";
    case BundleFault::notListed:
        return "is not in the manifest";
    case BundleFault::notABundle:
        return "is no folder, or cannot be read";
    case BundleFault::unreadable:
        return "cannot be read";
    case BundleFault::unlistable:
        return "cannot be listed";
    case BundleFault::notAFolder:
        return "is no folder";
    case BundleFault::notAFile:
        return "is neither file, folder nor link";
    case BundleFault::hardLink:
        return "is a hard link";
    case BundleFault::holdsOddName:
        return "holds a name that is not plain";
    case BundleFault::holdsTooMuch:
        return "holds too many files";
    case BundleFault::notAPlainPath:
        return "is no plain path";
    case BundleFault::inNoFolder:
        return "lies in no folder";
    case BundleFault::ofSignature:
        return "is part of the signature";
    case BundleFault::leavesBundle:
        return "is a link that leaves the bundle";
    case BundleFault::badMode:
        return "has the mode";
    case BundleFault::noDigest:
        return "has no digest";
    case BundleFault::tooLarge:
        return "makes the bundle too large";
    }
    fatal();
}

std::string reasonOf(const Error<ArchiveFault>& error) {
    switch (error.code) {
    case ArchiveFault::unreadable:
        return "the archive cannot be read";
    case ArchiveFault::noFolder:
        return "there is no such folder";
    case ArchiveFault::malformed:
        return "it is no archive of the plain kind";
    case ArchiveFault::unsupported:
        return "an entry is not as archives of releases have them";
    case ArchiveFault::oddName:
        return "a name is no plain path";
    case ArchiveFault::nameTwice:
        return "there is another of this name";
    case ArchiveFault::leavesFolder:
        return "it is a link that leaves the folder";
    case ArchiveFault::tooLarge:
        return "it would be too large";
    case ArchiveFault::damaged:
        return "its data is damaged";
    case ArchiveFault::unwritable:
        return "it cannot be written";
    case ArchiveFault::toolFailed:
        return "the tool failed with status";
    }
    fatal();
}

/// "SUBJECT: REASON", and what there is to tell besides, behind `between`.
template <typename Code>
std::string joined(const Error<Code>& error, const char* between) {
    const std::string about = error.subject.empty() ? "" : error.subject + ": ";
    const std::string besides = error.detail.empty() ? "" : between + error.detail;
    return about + reasonOf(error) + besides;
}

} // namespace

std::string wordsOf(const Error<BundleFault>& error) {
    return joined(error, error.code == BundleFault::badMode ? " " : ": ");
}

std::string wordsOf(const Error<ArchiveFault>& error) {
    return joined(error, error.code == ArchiveFault::toolFailed ? " " : ": ");
}

} // namespace korvel
