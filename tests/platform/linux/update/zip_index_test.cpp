#include "platform/linux/update/zip_index.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "platform/linux/update/zip_fixture.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using test::kFolder;
using test::makeZip;
using test::ZipArchiveTest;
using test::ZipMember;

TEST_F(ZipArchiveTest, EntriesThatShareBytesAreRefused) {
    // The first entry's content is itself an entry, so that every description finds its header.
    const ZipMember inner{"in", "text"};
    const ZipMember outer{"out", "start" + test::zipLocal(inner)};
    const std::string data = test::zipLocal(outer);
    const std::size_t inside = data.size() - test::zipLocal(inner).size(); // both have one end
    const auto with = [&](const ZipMember& second, std::uint64_t place) {
        const std::string index = test::zipCentral(outer, 0) + test::zipCentral(second, place);
        return data + index + test::zipEnd(2, index.size(), data.size());
    };
    EXPECT_EQ(unpack(with(inner, inside)), Error{ArchiveFault::malformed}) << "one in another";
    EXPECT_EQ(unpack(with(outer, 0)), (Error{ArchiveFault::nameTwice, "out"})) << "the same twice";
    ZipMember renamed = outer; // the own header is the same one
    renamed.name = "two";
    EXPECT_EQ(unpack(with(renamed, 0)), Error{ArchiveFault::malformed}) << "by another name";
    EXPECT_TRUE(fs::is_empty(out()));
}

TEST_F(ZipArchiveTest, ThereIsNoRoomBesideEntriesAndIndex) {
    const ZipMember one{"one", "1"};
    const ZipMember two{"two", "2"};
    const std::string first = test::zipLocal(one);
    const std::string second = test::zipLocal(two);
    const auto with = [&](const std::string& before, const std::string& between,
                          const std::string& behind, const std::string& afterTheIndex) {
        const std::size_t place = before.size() + first.size() + between.size();
        const std::string data = before + first + between + second + behind;
        const std::string index =
            test::zipCentral(one, before.size()) + test::zipCentral(two, place) + afterTheIndex;
        return data + index + test::zipEnd(2, index.size(), data.size());
    };
    const struct {
        const char* why;
        std::string bytes;
        Error<ArchiveFault> fault;
    } cases[] = {
        {"before the first", with("x", "", "", ""), {ArchiveFault::malformed}},
        {"between two", with("", "x", "", ""), {ArchiveFault::malformed}},
        {"behind the last", with("", "", "x", ""), {ArchiveFault::malformed}},
        {"in the index", with("", "", "", "x"), {ArchiveFault::malformed}},
        {"a record of 64 bits in the index",
         with("", "", "", "PK\6\7" + std::string(16, '\0')),
         {ArchiveFault::unsupported}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(unpack(each.bytes), each.fault) << each.why;
        EXPECT_TRUE(fs::is_empty(out())) << each.why;
    }
    EXPECT_TRUE(unpack(with("", "", "", "")));
}

TEST_F(ZipArchiveTest, AnotherIndexOf64BitsDoesNotHideInAField) {
    // Behind the last description stands what leads other readers to the index that they read.
    ZipMember member{"file", "x"};
    std::string index = test::zipCentral(member, 0);
    const std::string field =
        test::little(0xcafe, 2) + test::little(20, 2) + "PK\6\7" + std::string(16, '\0');
    constexpr std::size_t kFieldLength = 30;
    index.replace(kFieldLength, 2, test::little(field.size(), 2));
    index += field;
    const std::string data = test::zipLocal(member);
    EXPECT_EQ(unpack(data + index + test::zipEnd(1, index.size(), data.size())),
              Error{ArchiveFault::unsupported});
}

TEST_F(ZipArchiveTest, AnEntryHasNoComment) {
    const ZipMember member{"file", "x"};
    std::string index = test::zipCentral(member, 0);
    constexpr std::size_t kCommentLength = 32;
    index.replace(kCommentLength, 2, test::little(3, 2));
    index += "hey";
    const std::string data = test::zipLocal(member);
    EXPECT_EQ(unpack(data + index + test::zipEnd(1, index.size(), data.size())),
              Error{ArchiveFault::malformed});
}

TEST_F(ZipArchiveTest, StoredDataIsAsLongPackedAsUnpacked) {
    ZipMember member{"file", "some text"};
    member.unpacked = 8;
    EXPECT_EQ(unpack({member}), Error{ArchiveFault::malformed});
    member.unpacked = 10;
    EXPECT_EQ(unpack({member}), Error{ArchiveFault::malformed});
    EXPECT_TRUE(fs::is_empty(out()));
}

TEST_F(ZipArchiveTest, AFolderThatIsAnEntryAfterAllIsNotImplied) {
    const std::vector<ZipMember> members{{"a/f", "x"}, {"a/", "", 0040700}};
    const auto index = readZipIndex(makeZip(members));
    ASSERT_TRUE(index);
    EXPECT_TRUE(index->impliedFolders.empty());
    EXPECT_EQ(unpack({members[0], members[1], members[1]}), (Error{ArchiveFault::nameTwice, "a/"}));
}

/// A number of an archive with one entry, "file" with "some text", that is another.
struct OtherNumber {
    const char* why;
    std::size_t place;
    std::string bytes;
    Error<ArchiveFault> fault;
};

TEST_F(ZipArchiveTest, EveryNumberIsAsItIsToBe) {
    const Error malformed{ArchiveFault::malformed};
    const Error plain{ArchiveFault::unsupported};
    const Error<ArchiveFault> named{ArchiveFault::unsupported, "file"};
    constexpr std::size_t kIndex = 30 + 4 + 9;
    constexpr std::size_t kEnd = kIndex + 46 + 4;
    const auto two = [](unsigned number) { return test::little(number, 2); };
    const auto four = [](std::uint64_t number) { return test::little(number, 4); };
    const std::string good = makeZip({{"file", "some text"}});
    ASSERT_EQ(good.substr(kEnd, 2), "PK");
    for (const OtherNumber& each : std::vector<OtherNumber>{
             {"own header: kind of record", 3, "\2", malformed},
             {"own header: flags", 6, two(0), malformed},
             {"own header: encrypted", 6, two(1U << 11U | 1U), malformed},
             {"own header: method", 8, two(8), malformed},
             {"own header: time", 10, two(1), malformed},
             {"own header: date", 12, two(1), malformed},
             {"own header: checksum", 14, four(1), malformed},
             {"own header: no checksum", 14, four(0), malformed},
             {"own header: packed size", 18, four(8), malformed},
             {"own header: no packed size", 18, four(0), malformed},
             {"own header: unpacked size", 22, four(10), malformed},
             {"own header: no unpacked size", 22, four(0), malformed},
             {"own header: length of the name", 26, two(3), malformed},
             {"own header: longer name", 26, two(5), malformed},
             {"own header: length of more fields", 28, two(1), malformed},
             {"own header: name", 33, "f", malformed},
             {"index: kind of record", kIndex + 3, "\3", malformed},
             {"index: made on DOS", kIndex + 5, test::little(0, 1), named},
             {"index: made on Windows", kIndex + 5, test::little(10, 1), named},
             {"index: made on VMS", kIndex + 5, test::little(2, 1), named},
             {"index: encrypted", kIndex + 8, two(1U << 11U | 1U), plain},
             {"index: strongly encrypted", kIndex + 8, two(1U << 11U | 1U << 6U), plain},
             {"index: hidden", kIndex + 8, two(1U << 11U | 1U << 13U), plain},
             {"index: method", kIndex + 10, two(12), plain},
             {"index: checksum", kIndex + 16, four(1), malformed},
             {"index: packed size", kIndex + 20, four(8), malformed},
             {"index: unpacked size", kIndex + 24, four(8), malformed},
             {"index: packed size of 64 bits", kIndex + 20, four(0xffffffff), plain},
             {"index: unpacked size of 64 bits", kIndex + 24, four(0xffffffff), plain},
             {"index: length of the name", kIndex + 28, two(3), malformed},
             {"index: length of more fields", kIndex + 30, two(1), malformed},
             {"index: length of a comment", kIndex + 32, two(1), malformed},
             {"index: volume", kIndex + 34, two(1), malformed},
             {"index: kind of file", kIndex + 38, four(std::uint64_t{0060644} << 16U), named},
             {"index: place", kIndex + 42, four(1), malformed},
             {"index: place behind the end", kIndex + 42, four(1000), malformed},
             {"index: place at the far end", kIndex + 42, four(0xfffffff0), malformed},
             {"end: volume", kEnd + 4, two(1), malformed},
             {"end: volume of the index", kEnd + 6, two(1), malformed},
             {"end: entries of the volume", kEnd + 8, two(2), malformed},
             {"end: entries", kEnd + 10, two(2), malformed},
             {"end: both numbers of entries more", kEnd + 8, two(2) + two(2), malformed},
             {"end: both numbers of entries less", kEnd + 8, two(0) + two(0), malformed},
             {"end: length of the index", kEnd + 12, four(49), malformed},
             {"end: place of the index", kEnd + 16, four(42), malformed},
             {"end: length of a comment", kEnd + 20, two(1), malformed},
         }) {
        std::string bytes = good;
        bytes.replace(each.place, each.bytes.size(), each.bytes);
        ASSERT_NE(bytes, good) << each.why;
        EXPECT_EQ(unpack(bytes), each.fault) << each.why;
        EXPECT_TRUE(nothingOutside()) << each.why;
        EXPECT_TRUE(fs::is_empty(out())) << each.why;
    }
    EXPECT_TRUE(unpack(good));
}

/// An archive of one entry whose sizes follow its data; `own` are the numbers of its own header.
std::string sizesFollow(const std::string& own, const std::string& behind) {
    const ZipMember member{"file", "some text", 0100644, 0, 1U << 11U | 1U << 3U};
    std::string data = test::zipLocal(member);
    constexpr std::size_t kSizes = 14;
    data.replace(kSizes, own.size(), own);
    data += behind;
    const std::string index = test::zipCentral(member, 0);
    return data + index + test::zipEnd(1, index.size(), data.size());
}

TEST_F(ZipArchiveTest, SizesThatFollowTheDataAreThoseOfTheIndex) {
    const auto numbers = [](std::uint32_t checksum, std::uint32_t packed, std::uint32_t unpacked) {
        return test::little(checksum, 4) + test::little(packed, 4) + test::little(unpacked, 4);
    };
    const std::uint32_t checksum = test::crc32Of("some text");
    const std::string none = numbers(0, 0, 0);
    const std::string told = numbers(checksum, 9, 9);
    const std::string mark = "PK\7\10";
    EXPECT_TRUE(unpack(sizesFollow(none, mark + told)));
    EXPECT_TRUE(unpack(sizesFollow(numbers(0, 0, 9), mark + told)));
    EXPECT_TRUE(unpack(sizesFollow(told, mark + told)));
    const struct {
        const char* why;
        std::string own;
        std::string behind;
    } cases[] = {
        {"nothing follows", none, ""},
        {"no mark", none, told},
        {"cut short", none, mark + told.substr(1)},
        {"another checksum", none, mark + numbers(1, 9, 9)},
        {"another packed size", none, mark + numbers(checksum, 8, 9)},
        {"another unpacked size", none, mark + numbers(checksum, 9, 8)},
        {"more than that", none, mark + told + "x"},
        {"sizes of 64 bits", none,
         mark + test::little(checksum, 4) + test::little(9, 8) + test::little(9, 8)},
        {"another checksum before", numbers(1, 0, 0), mark + told},
        {"another packed size before", numbers(0, 8, 0), mark + told},
        {"another unpacked size before", numbers(0, 0, 8), mark + told},
    };
    for (const auto& one : cases) {
        tree_.remove("work/out");
        fs::create_directories(out());
        EXPECT_EQ(unpack(sizesFollow(one.own, one.behind)), Error{ArchiveFault::malformed})
            << one.why;
        EXPECT_TRUE(fs::is_empty(out())) << one.why;
    }
}

TEST_F(ZipArchiveTest, TooManyEntriesAreRefusedUnread) {
    // As many as the end of the archive tells, and a million where that number has run over.
    for (const std::size_t count : {kMostZipPaths + 1, std::size_t{1000000}}) {
        const ZipMember member{"f", ""};
        std::string bytes = test::zipLocal(member);
        const std::size_t place = bytes.size();
        const std::string entry = test::zipCentral(member, 0);
        bytes.reserve(place + count * entry.size() + 100);
        for (std::size_t i = 0; i < count; ++i) {
            bytes += entry;
        }
        bytes += test::zipEnd(count, count * entry.size(), place);
        EXPECT_EQ(unpack(bytes), Error{ArchiveFault::tooLarge}) << count;
        EXPECT_TRUE(fs::is_empty(out()));
    }
}

/// `count` files, each below `depth` folders of its own that are no entries; `length` is that of
/// every folder's name.
std::vector<ZipMember> nested(std::size_t count, std::size_t depth, std::size_t length) {
    std::vector<ZipMember> members;
    for (std::size_t i = 0; i < count; ++i) {
        std::string name = std::to_string(100000 + i);
        name.resize(std::max(length, name.size()), 'd');
        for (std::size_t level = 1; level < depth; ++level) {
            name += "/" + std::string(length, 'd');
        }
        members.push_back({name + "/f", ""});
    }
    return members;
}

TEST_F(ZipArchiveTest, FoldersAndTheLengthOfNamesAreBoundedWhateverTheNumberOfEntries) {
    constexpr std::size_t kDeepest = 31; // and the file below
    const struct {
        const char* why;
        std::vector<ZipMember> members;
    } cases[] = {
        {"5,000 nested entries", nested(5000, kDeepest, 1)},
        {"640,000 folders", nested(20000, kDeepest, 1)},
        {"20,000 long names", nested(20000, kDeepest, 31)},
        {"few entries in many folders", nested(70, kDeepest, 1)},
        {"long names of files", nested(300, 4, 240)},
        {"long names of folders", nested(30, kDeepest, 31)},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(unpack(one.members), Error{ArchiveFault::tooLarge}) << one.why;
        EXPECT_TRUE(fs::is_empty(out())) << one.why;
    }
}

TEST_F(ZipArchiveTest, EntriesAndImpliedFoldersCountTogetherAndOnce) {
    std::vector<ZipMember> members{{"a/b/", "", kFolder}, {"a/b/c/d/f", ""}, {"a/b/c/g", ""}};
    constexpr std::size_t kPaths = 6; // a, b, c, d, f, g
    for (std::size_t i = kPaths; i < kMostZipPaths; ++i) {
        members.push_back({std::to_string(i), ""});
    }
    const auto index = readZipIndex(makeZip(members));
    ASSERT_TRUE(index);
    EXPECT_EQ(index->impliedFolders, (std::set<std::string>{"a/", "a/b/c/", "a/b/c/d/"}));
    members.push_back({"one more", ""});
    EXPECT_EQ(readZipIndex(makeZip(members)).error(), Error{ArchiveFault::tooLarge});
}

TEST_F(ZipArchiveTest, TheLengthOfAllNamesTogetherIsBounded) {
    std::vector<ZipMember> members;
    constexpr std::size_t kLength = 256; // with the slash of a folder
    for (std::size_t i = 0; i < kMostZipPathBytes / kLength; ++i) {
        std::string name = std::to_string(i) + "-";
        members.push_back({name.append(kLength - 1 - name.size(), 'n') + "/", "", kFolder});
    }
    EXPECT_TRUE(readZipIndex(makeZip(members)));
    members.push_back({"f", ""});
    EXPECT_EQ(readZipIndex(makeZip(members)).error(), Error{ArchiveFault::tooLarge});
}

} // namespace
} // namespace korvel::platform
