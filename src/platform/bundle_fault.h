#pragma once

#include "base/result.h"

namespace korvel::platform {

/// Why a bundle is not one to install. An error that is about one of its entries has the entry's
/// path as its subject, relative to the bundle, which itself is ".".
enum class BundleFault {
    refusedByTool, ///< the system's tool says no more
    noTool,        ///< it could not be started

    // The signature.
    notSigned,
    noRoot,             ///< there is no certificate to trust
    signatureMalformed, ///< no detached signature, or one over too much
    notOneSigner,
    certificateMissing, ///< the signer's, in the signature
    tooManyCertificates,
    weakAlgorithms,
    timeMissing, ///< of signing
    timeInFuture,
    certificateMalformed, ///< the signer's
    signerIsAuthority,
    signerNotForCode,
    signerNotForSigning,
    signerNotOfOneTeam,
    libraryFailed,
    notUnderRoot,        ///< the detail is the cryptographic library's
    authorityNotForCode, ///< one between the signer and the root
    notOverManifest,     ///< it is a good signature of something else
    otherTeam,

    // What is signed.
    manifestMalformed,
    otherProgram,
    otherBuild,         ///< than the one that was asked for
    notNewer,           ///< than the running one, or than one that it installed
    descriptionDiffers, ///< from what the manifest says
    descriptionUnfit,   ///< its identifier, version or build is none that can be signed
    manifestTooLarge,
    notAProgram, ///< the file that is to be started

    // An entry, by the manifest.
    missing,
    otherKind,
    otherMode,
    otherTarget, ///< of a link
    changed,
    notListed,

    // An entry, whoever lists it.
    notABundle, ///< no folder, or it cannot be read
    unreadable,
    unlistable, ///< a folder
    notAFolder, ///< the bundle itself
    notAFile,   ///< nor a folder, nor a link
    hardLink,
    holdsOddName, ///< one that is not plain, and not to be printed
    holdsTooMuch, ///< too many files
    notAPlainPath,
    inNoFolder,
    ofSignature,  ///< in the place of one of the signature's files
    leavesBundle, ///< a link
    badMode,      ///< the detail is the mode, in octal digits
    noDigest,
    tooLarge, ///< with it the bundle is
};

} // namespace korvel::platform
