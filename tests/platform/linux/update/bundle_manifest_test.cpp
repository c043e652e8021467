#include <limits>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "platform/linux/update/bundle_manifest.h"
#include "report/fault_words.h"

namespace korvel {
namespace {

using namespace platform;

const std::string kDigest(64, 'a');

BundleEntry folder(std::uint32_t mode = 0755) {
    return {BundleEntryKind::folder, mode, 0, "", ""};
}

BundleEntry file(std::uint64_t size = 5, std::uint32_t mode = 0644) {
    return {BundleEntryKind::file, mode, size, kDigest, ""};
}

BundleEntry link(const std::string& target) {
    return {BundleEntryKind::link, 0, 0, "", target};
}

BundleManifest sample() {
    return {"com.oxbrook.korvel",
            "1.4.0",
            42,
            {{".", folder()},
             {"Contents", folder()},
             {"Contents/Info.plist", file(812)},
             {"Contents/a b", file(0, 0755)},
             {"Contents/ä", link("../Contents/Info.plist")}}};
}

const std::string kSample = "korvel-manifest 1\n"
                            "identifier\tcom.oxbrook.korvel\n"
                            "version\t1.4.0\n"
                            "build\t42\n"
                            "folder\t755\t.\n"
                            "folder\t755\tContents\n"
                            "file\t644\t812\t" +
                            kDigest +
                            "\tContents/Info.plist\n"
                            "file\t755\t0\t" +
                            kDigest +
                            "\tContents/a b\n"
                            "link\tContents/ä\t../Contents/Info.plist\n";

TEST(BundleManifest, IsWrittenLineByLine) {
    EXPECT_EQ(writeManifest(sample()), kSample);
}

TEST(BundleManifest, WhatIsWrittenIsReadAgain) {
    EXPECT_EQ(readManifest(kSample), sample());
    BundleManifest largest = sample();
    largest.build = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(readManifest(*writeManifest(largest)), largest);
}

/// The sample with one piece of its text replaced.
struct OtherText {
    const char* name;
    std::string from;
    std::string to;
};

TEST(BundleManifest, NothingElseIsRead) {
    for (const OtherText& each : std::vector<OtherText>{
             {"another format", "korvel-manifest 1", "korvel-manifest 2"},
             {"no first line", "korvel-manifest 1\n", ""},
             {"a mark before it", "korvel-manifest", "\xef\xbb\xbfkorvel-manifest"},
             {"line ends of another system", "\n", "\r\n"},
             {"a space for a tab", "build\t42", "build 42"},
             {"no identifier", "identifier\tcom.oxbrook.korvel\n", ""},
             {"empty identifier", "com.oxbrook.korvel", ""},
             {"identifier with a space", "com.oxbrook", "com oxbrook"},
             {"identifier not ASCII", "oxbrook", "öxbrook"},
             {"version and build swapped", "version\t1.4.0\nbuild\t42",
              "build\t42\nversion\t1.4.0"},
             {"two versions", "version\t1.4.0\n", "version\t1.4.0\nversion\t1.4.0\n"},
             {"version with a quote", "1.4.0", "1.4.0\""},
             {"version too long", "1.4.0", std::string(65, '1')},
             {"build with a zero before", "\t42\n", "\t042\n"},
             {"build with a sign", "\t42\n", "\t+42\n"},
             {"build 0", "\t42\n", "\t0\n"},
             {"negative build", "\t42\n", "\t-42\n"},
             {"build in parts", "\t42\n", "\t42.0\n"},
             {"build too large", "\t42\n", "\t9223372036854775808\n"},
             {"a field more", "folder\t755\tContents\n", "folder\t755\tContents\t\n"},
             {"a field less", "folder\t755\tContents\n", "folder\tContents\n"},
             {"unknown kind", "folder\t755\tContents\n", "device\t755\tContents\n"},
             {"an empty line", "folder\t755\tContents\n", "\nfolder\t755\tContents\n"},
             {"mode with a zero before", "folder\t755\tC", "folder\t0755\tC"},
             {"mode not octal", "file\t644", "file\t648"},
             {"size with a zero before", "\t812\t", "\t0812\t"},
             {"negative size", "\t812\t", "\t-1\t"},
             {"size too large", "\t812\t", "\t18446744073709551616\t"},
             {"digest in capitals", "aaaa\tContents/I", "AAAA\tContents/I"},
             {"digest too short", "aaaa\tContents/I", "aaa\tContents/I"},
             {"digest too long", "aaaa\tContents/I", "aaaaa\tContents/I"},
             {"an entry twice", "folder\t755\tContents\n",
              "folder\t755\tContents\nfolder\t755\tContents\n"},
             {"not sorted", "folder\t755\t.\nfolder\t755\tContents\n",
              "folder\t755\tContents\nfolder\t755\t.\n"},
             {"no bundle", "folder\t755\t.\n", ""},
             {"no folder above", "folder\t755\tContents\n", ""},
             {"a slash at the end", "folder\t755\tContents\n", "folder\t755\tContents/\n"},
             {"a NUL", "Contents/a b", std::string("Contents/a\0b", 12)},
         }) {
        std::string text = kSample;
        text.replace(text.find(each.from), each.from.size(), each.to);
        ASSERT_NE(text, kSample) << each.name;
        EXPECT_FALSE(readManifest(text)) << each.name;
    }
    EXPECT_FALSE(readManifest(kSample + "\n"));
    EXPECT_FALSE(readManifest(kSample + std::string(1, '\0')));
    EXPECT_FALSE(readManifest(std::string(kLargestManifest + 1, 'a')));
}

TEST(BundleManifest, CutAnywhereItHoldsNoMoreThanTheLinesThatAreLeft) {
    for (std::size_t length = 0; length < kSample.size(); ++length) {
        const std::string cut = kSample.substr(0, length);
        const auto read = readManifest(cut);
        EXPECT_EQ(bool(read), cut.find("\t.\n") != std::string::npos && cut.back() == '\n')
            << length;
    }
}

/// A tree with one entry more.
struct OddEntry {
    const char* name;
    std::string path;
    BundleEntry entry;
    std::string fault;
};

TEST(BundleManifest, TreesWithAFaultAreNeitherWrittenNorRead) {
    const std::string longName(256, 'n');
    std::string deep = "Contents";
    for (int i = 0; i < 32; ++i) {
        deep += "/d";
    }
    const std::string notPlain = "is no plain path";
    const std::string leaves = "is a link that leaves the bundle";
    for (const OddEntry& each : std::vector<OddEntry>{
             {"absolute", "/x", file(), notPlain},
             {"up", "../x", file(), notPlain},
             {"up within", "Contents/../x", file(), notPlain},
             {"here", "Contents/./x", file(), notPlain},
             {"empty name", "Contents//x", file(), notPlain},
             {"empty path", "", file(), notPlain},
             {"slash at the end", "Contents/x/", file(), notPlain},
             {"line end", "Contents/x\ny", file(), notPlain},
             {"tab", "Contents/x\ty", file(), notPlain},
             {"escape", "Contents/x\x1b[31m", file(), notPlain},
             {"no UTF-8", "Contents/x\xff", file(), notPlain},
             {"overlong UTF-8", "Contents/\xc0\xaf", file(), notPlain},
             {"long name", "Contents/" + longName, file(), notPlain},
             {"deep", deep, file(), notPlain},
             {"in no folder", "Gone/x", file(), "lies in no folder"},
             {"in a file", "Contents/Info.plist/x", file(), "lies in no folder"},
             {"in a link", "Contents/ä/x", file(), "lies in no folder"},
             {"the manifest", "Contents/_CodeSignature/Manifest", file(),
              "is part of the signature"},
             {"the signature", "Contents/_CodeSignature/Manifest.p7s", folder(),
              "is part of the signature"},
             {"set user id", "Contents/x", file(1, 04755), "has the mode 4755"},
             {"others write", "Contents/x", file(1, 0646), "has the mode 646"},
             {"group writes", "Contents/x", folder(0775), "has the mode 775"},
             {"sticky", "Contents/x", folder(01755), "has the mode 1755"},
             {"owner cannot read", "Contents/x", file(1, 0044), "has the mode 44"},
             {"owner cannot enter", "Contents/x", folder(0655), "has the mode 655"},
             {"too large", "Contents/x", file(kMostBundleBytes), "makes the bundle too large"},
             {"far too large", "Contents/x", file(std::numeric_limits<std::uint64_t>::max()),
              "makes the bundle too large"},
             {"link absolute", "Contents/x", link("/etc/passwd"), leaves},
             {"link up and out", "Contents/x", link("../../x"), leaves},
             {"link down and up and out", "Contents/x", link("y/../../../x"), leaves},
             {"link down and up", "Contents/x", link("y/../Info.plist"), leaves},
             {"link to nothing", "Contents/x", link(""), leaves},
             {"link with a line end", "Contents/x", link("y\nz"), leaves},
         }) {
        BundleManifest manifest = sample();
        manifest.entries[each.path] = each.entry;
        const auto checked = checkTree(manifest.entries);
        ASSERT_FALSE(checked) << each.name;
        EXPECT_EQ(checked.error().subject, each.path) << each.name;
        const std::string about = each.path.empty() ? "" : each.path + ": ";
        EXPECT_EQ(wordsOf(checked.error()), about + each.fault) << each.name;
        EXPECT_EQ(writeManifest(manifest), checked.error()) << each.name;
        std::string text = kSample;
        const BundleEntry& entry = each.entry;
        text += entry.kind == BundleEntryKind::link
                    ? fmt::format("link\t{}\t{}\n", each.path, entry.target)
                : entry.kind == BundleEntryKind::folder
                    ? fmt::format("folder\t{:o}\t{}\n", entry.mode, each.path)
                    : fmt::format("file\t{:o}\t{}\t{}\t{}\n", entry.mode, entry.size, kDigest,
                                  each.path);
        EXPECT_FALSE(readManifest(text)) << each.name;
    }
    for (const char* target : {"..", "../..", "../x", "Info.plist", "y/z", "./y"}) {
        BundleManifest manifest = sample();
        manifest.entries["Contents/y"] = folder();
        manifest.entries["Contents/y/x"] = link(target);
        EXPECT_TRUE(checkTree(manifest.entries)) << target;
        EXPECT_EQ(readManifest(*writeManifest(manifest)), manifest) << target;
    }
}

TEST(BundleManifest, TheNumberOfEntriesIsBounded) {
    BundleManifest manifest = sample();
    for (std::size_t i = manifest.entries.size(); i < kMostBundleEntries; ++i) {
        manifest.entries[fmt::format("f{}", i)] = file(1);
    }
    const auto text = writeManifest(manifest);
    ASSERT_TRUE(text);
    EXPECT_EQ(readManifest(*text), manifest);
    manifest.entries["one more"] = file(1);
    EXPECT_EQ(writeManifest(manifest), (Error{BundleFault::holdsTooMuch, "."}));
    EXPECT_FALSE(readManifest(*text + "file\t644\t1\t" + kDigest + "\tone more\n"));
}

} // namespace
} // namespace korvel
