#include <filesystem>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/update/relative_path.h"
#include "platform/linux/update/signed_bundle.h"
#include "platform/posix/file_descriptor.h"
#include "report/fault_words.h"

namespace korvel {
namespace {

namespace fs = std::filesystem;
using namespace platform;
using test::SignedBundle;

std::string faultOf(const SignedBundle& bundle) {
    const auto found = scanBundle(bundle.path());
    return found ? "" : wordsOf(found.error());
}

TEST(BundleScan, ListsAllThatIsThereButTheSignature) {
    const SignedBundle bundle;
    bundle.write("Contents/_CodeSignature/Manifest", "m");
    bundle.write("Contents/_CodeSignature/Manifest.p7s", "s");
    bundle.write("Contents/empty", "", 0600);
    bundle.write("top", std::string(200000, 'x'));
    const auto found = scanBundle(bundle.path());
    ASSERT_TRUE(found) << wordsOf(found.error());
    std::string paths;
    for (const auto& [path, entry] : *found) {
        paths += path + "\n";
    }
    EXPECT_EQ(paths, ".\nContents\nContents/Info.plist\nContents/Linux\nContents/Linux/korvel\n"
                     "Contents/Resources\nContents/Resources/com.oxbrook.korvel.svg\n"
                     "Contents/Resources/icon\nContents/_CodeSignature\nContents/empty\ntop\n");
    EXPECT_EQ(found->at("Contents/Linux/korvel"),
              (BundleEntry{BundleEntryKind::file, 0755, 12, sha256Of("the program\n"), ""}));
    EXPECT_EQ(found->at("top").size, 200000U);
    EXPECT_EQ(found->at("top").sha256, sha256Of(std::string(200000, 'x')));
    EXPECT_EQ(
        found->at("Contents/empty"),
        (BundleEntry{BundleEntryKind::file, 0600, 0,
                     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", ""}));
    EXPECT_EQ(found->at("Contents/Resources/icon"),
              (BundleEntry{BundleEntryKind::link, 0, 0, "", "com.oxbrook.korvel.svg"}));
    EXPECT_EQ(found->at("."), (BundleEntry{BundleEntryKind::folder, 0755, 0, "", ""}));
}

TEST(BundleScan, TheDigestIsTheStandardOne) {
    EXPECT_EQ(sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(BundleScan, WhatIsNeitherFileFolderNorLinkIsRefused) {
    const SignedBundle bundle;
    ASSERT_EQ(::mkfifo(bundle.file("pipe").c_str(), 0644), 0);
    EXPECT_EQ(faultOf(bundle), "pipe: is neither file, folder nor link");
    bundle.remove("pipe");
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    bundle.file("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(faultOf(bundle), "socket: is neither file, folder nor link");
}

TEST(BundleScan, ADeviceIsRefused) {
    const SignedBundle bundle;
    if (::mknod(bundle.file("null").c_str(), S_IFCHR | 0644, makedev(1, 3)) != 0) {
        GTEST_SKIP() << "no leave to make a device";
    }
    EXPECT_EQ(faultOf(bundle), "null: is neither file, folder nor link");
}

TEST(BundleScan, APipeInTheSignaturesPlaceIsRefusedAndNotWaitedFor) {
    const SignedBundle bundle;
    ASSERT_EQ(::mkfifo(bundle.file("Contents/_CodeSignature/Manifest").c_str(), 0644), 0);
    EXPECT_EQ(faultOf(bundle),
              "Contents/_CodeSignature/Manifest: is neither file, folder nor link");
    EXPECT_FALSE(readInBundle(bundle.path(), kManifestPath, 100));
}

TEST(BundleScan, NothingHidesInAFolderInTheSignaturesPlace) {
    const SignedBundle bundle;
    bundle.write("Contents/_CodeSignature/Manifest/hidden", "x");
    EXPECT_EQ(faultOf(bundle), "Contents/_CodeSignature/Manifest: is part of the signature");
}

TEST(BundleScan, NamesThatAreNotPlainAreRefusedAndNotRepeated) {
    for (const char* name : {"line\nend", "esc\x1b[2J", "bad\xff", "back\\slash"}) {
        const SignedBundle bundle;
        bundle.write(name, "x");
        EXPECT_EQ(faultOf(bundle), ".: holds a name that is not plain") << name;
    }
}

TEST(BundleScan, ASecondNameIsRefused) {
    const SignedBundle bundle;
    fs::create_hard_link(bundle.file("Contents/Info.plist"), bundle.file("Contents/again"));
    EXPECT_NE(faultOf(bundle).find(": is a hard link"), std::string::npos);
}

TEST(BundleScan, ItEndsInABundleWithoutEnd) {
    const SignedBundle bundle;
    std::string deep = "d";
    for (int i = 0; i < 40; ++i) {
        deep += "/d";
    }
    bundle.write(deep, "x");
    EXPECT_EQ(faultOf(bundle), ".: holds a name that is not plain");
}

TEST(BundleScan, TheBytesAreBounded) {
    const SignedBundle bundle;
    bundle.write("large", "");
    fs::resize_file(bundle.file("large"), kMostBundleBytes + 1); // a hole, which takes no room
    EXPECT_EQ(faultOf(bundle), "large: makes the bundle too large");
}

TEST(BundleScan, TheFilesAreBoundedInOneFolderAndInAll) {
    const SignedBundle one;
    for (std::size_t i = 0; i <= kMostBundleEntries; ++i) {
        one.write("Contents/" + std::to_string(i), "");
    }
    EXPECT_EQ(faultOf(one), ".: holds too many files");
    const SignedBundle two;
    const std::size_t own = scanBundle(two.path())->size() + 2; // and the two folders
    for (std::size_t i = own; i < kMostBundleEntries; ++i) {
        two.write((i % 2 == 0 ? "Contents/even/" : "Contents/odd/") + std::to_string(i), "");
    }
    two.mode("Contents/even", 0755);
    two.mode("Contents/odd", 0755);
    EXPECT_EQ(faultOf(two), "");
    two.write("Contents/odd/more", "");
    EXPECT_EQ(faultOf(two), ".: holds too many files");
}

TEST(BundleScan, ATargetIsTakenWholeOrNotAtAll) {
    const SignedBundle bundle;
    std::string target;
    while (target.size() < kLongestBundlePath) {
        target += "x/";
    }
    fs::create_symlink(target, bundle.file("Contents/link"));
    const auto found = scanBundle(bundle.path());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->at("Contents/link").target, target);
    bundle.remove("Contents/link");
    fs::create_symlink(target + "y", bundle.file("Contents/link"));
    EXPECT_EQ(faultOf(bundle), "Contents/link: is a link that leaves the bundle");
}

TEST(BundleScan, OnlyAFolderIsABundle) {
    for (const char* path : {"/etc/passwd", "/nowhere"}) {
        const auto found = scanBundle(path);
        ASSERT_FALSE(found) << path;
        EXPECT_EQ(wordsOf(found.error()), ".: is no folder, or cannot be read");
    }
}

TEST(BundleScan, AFileIsReadOnlyWhereItLies) {
    const SignedBundle bundle;
    EXPECT_EQ(readInBundle(bundle.path(), "Contents/Linux/korvel", 12), "the program\n");
    EXPECT_FALSE(readInBundle(bundle.path(), "Contents/Linux/korvel", 11));
    EXPECT_FALSE(readInBundle(bundle.path(), "Contents/Linux", 100));
    EXPECT_FALSE(readInBundle(bundle.path(), "Contents/gone/korvel", 100));
    EXPECT_FALSE(readInBundle(bundle.path(), "Contents/Resources/icon", 100)) << "a link";
    fs::create_directory_symlink("Contents", bundle.file("also"));
    EXPECT_FALSE(readInBundle(bundle.path(), "also/Linux/korvel", 100)) << "through a link";
}

} // namespace
} // namespace korvel
