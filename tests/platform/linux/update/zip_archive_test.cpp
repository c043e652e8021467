#include "platform/linux/update/zip_archive.h"

#include <clocale>

#include <gtest/gtest.h>
#include <locale.h>
#include <sys/stat.h>

#include "platform/linux/update/zip_fixture.h"
#include "platform/posix/private_mounts.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using test::deflated;
using test::kFolder;
using test::kLink;
using test::makeZip;
using test::ZipArchiveTest;
using test::ZipMember;

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

const std::vector<ZipMember> kBundle{
    {"Korvel.app/", "", kFolder},
    {"Korvel.app/Contents/", "", kFolder},
    {"Korvel.app/Contents/Info.plist", "<plist/>", 0100644},
    {"Korvel.app/Contents/Linux/", "", 0040700},
    {"Korvel.app/Contents/Linux/korvel", std::string(300000, 'k'), 0100755},
    {"Korvel.app/Contents/Linux/kör vel", "x", 0100600},
    {"Korvel.app/Contents/empty", "", 0100444},
    {"Korvel.app/Contents/current", "Linux/korvel", kLink},
    {"Korvel.app/Contents/Linux/up", "../Info.plist", kLink},
};

TEST_F(ZipArchiveTest, ModesLinksAndTimesAreKept) {
    for (const bool packed : {false, true}) {
        SCOPED_TRACE(packed ? "deflated" : "stored");
        tree_.remove("work/out");
        fs::create_directories(out());
        const mode_t mask = ::umask(077);
        ASSERT_TRUE(unpack(packed ? deflated(kBundle) : makeZip(kBundle)));
        ::umask(mask);
        EXPECT_TRUE(nothingOutside());
        for (const ZipMember& member : kBundle) {
            const fs::path path = out() / member.name;
            if (member.mode == kLink) {
                EXPECT_EQ(fs::read_symlink(path), member.content);
            } else {
                EXPECT_EQ(modeOf(path), member.mode & 07777) << member.name;
            }
            if ((member.mode & 0100000) != 0 && member.mode != kLink) {
                EXPECT_EQ(text(member.name), member.content);
            }
        }
        if (packed) {
            struct stat status {};
            ::lstat((out() / "Korvel.app/Contents/Info.plist").c_str(), &status);
            EXPECT_EQ(status.st_mtim.tv_sec, 1000000000);
            ::lstat((out() / "Korvel.app").c_str(), &status);
            EXPECT_EQ(status.st_mtim.tv_sec, 1000000000);
        }
    }
}

TEST_F(ZipArchiveTest, NamesAreUtf8InAnyLocale) {
    for (const char* const locale : {"C", "C.UTF-8", "de_DE.ISO-8859-1"}) {
        tree_.remove("work/out");
        fs::create_directories(out());
        if (std::setlocale(LC_ALL, locale) == nullptr) {
            continue; // not on this system; "C" is on each
        }
        EXPECT_TRUE(unpack({{"ö/"s, "", kFolder}, {"ö/日本", "x"}, {"l", "ö/日本", kLink}}))
            << locale;
        EXPECT_EQ(text("l"), "x") << locale;
        std::setlocale(LC_ALL, "C");
    }
    EXPECT_TRUE(unpack({{"é", "x", 0100644, 0, 0}})) << "not marked as UTF-8";
    EXPECT_EQ(text("é"), "x");
}

TEST_F(ZipArchiveTest, NobodyElseMayWriteAndNothingChangesTheUser) {
    ASSERT_TRUE(unpack({{"folder/", "", 0041777}, {"folder/file", "x", 0106777}}));
    EXPECT_EQ(modeOf(out() / "folder"), 0755U);
    EXPECT_EQ(modeOf(out() / "folder/file"), 0755U);
}

TEST_F(ZipArchiveTest, FoldersThatAreNoEntriesHaveTheUsualMode) {
    const mode_t mask = ::umask(0);
    ASSERT_TRUE(unpack({{"a/b/file", "x"}, {"a/c/", "", 0040700}}));
    ::umask(mask);
    EXPECT_EQ(modeOf(out() / "a"), 0755U);
    EXPECT_EQ(modeOf(out() / "a/b"), 0755U);
    EXPECT_EQ(modeOf(out() / "a/c"), 0700U);
}

TEST_F(ZipArchiveTest, FolderWithALinkInItsPathIsUnpackedInto) {
    fs::create_directory_symlink(out().parent_path(), fs::path(tree_.root()) / "link");
    tree_.write("work/update.zip", makeZip({{"a/file", "x"}}));
    EXPECT_TRUE(ZipArchive().unpack(archive(), fs::path(tree_.root()) / "link" / "out"));
    EXPECT_EQ(text("a/file"), "x");
}

TEST_F(ZipArchiveTest, MissingArchiveOrFolderIsTold) {
    EXPECT_EQ(ZipArchive().unpack(archive(), out()), Error{ArchiveFault::unreadable});
    tree_.write("work/update.zip", makeZip({{"file", "x"}}));
    EXPECT_EQ(ZipArchive().unpack(archive(), out() / "missing"), Error{ArchiveFault::noFolder});
    EXPECT_EQ(ZipArchive().unpack(out(), out()), Error{ArchiveFault::unreadable})
        << "a folder is no archive";
}

TEST_F(ZipArchiveTest, DataThatIsNotAsToldIsRefused) {
    const auto with = [](auto change) {
        ZipMember member{"file", "some text"};
        change(member);
        return std::vector<ZipMember>{member};
    };
    const auto unpacked = unpack(with([](ZipMember& m) { m.checksum = 1; }));
    ASSERT_FALSE(unpacked);
    EXPECT_EQ(unpacked.error().code, ArchiveFault::damaged);
    EXPECT_EQ(unpacked.error().subject, "file");
    EXPECT_NE(unpacked.error().detail, "") << "what the library says";
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.unpacked = 5; })));
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.packed = 5; })));
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.packed = m.unpacked = 5; })));
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.packed = m.unpacked = 500; })));
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.unpacked = 0xffffffff; })));
    EXPECT_FALSE(unpack(with([](ZipMember& m) { m.method = 8; }))) << "no deflated data";
}

TEST_F(ZipArchiveTest, EveryChangedByteIsRefusedOrChangesNoContent) {
    const std::vector<ZipMember> members{{"d/", "", kFolder}, {"d/file", "content of the file"}};
    const std::string good = makeZip(members);
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
        tree_.remove("work/out");
        fs::create_directories(out());
        if (unpack(bytes)) {
            std::error_code none; // the byte may have been one of the modes
            fs::permissions(out() / "d", fs::perms(0755), none);
            fs::permissions(out() / "d/file", fs::perms(0644), none);
            for (const auto& entry : fs::recursive_directory_iterator(out())) {
                if (entry.is_regular_file()) {
                    EXPECT_EQ(text(entry.path().lexically_relative(out())), members[1].content)
                        << at;
                }
            }
        }
        EXPECT_TRUE(nothingOutside()) << at;
    }
}

TEST_F(ZipArchiveTest, TruncatedArchiveIsRefusedAtEveryLength) {
    const std::string good = deflated({{"a/", "", kFolder}, {"a/file", std::string(500, 'x')}});
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(unpack(good.substr(0, length))) << length;
        EXPECT_TRUE(fs::is_empty(out())) << "before anything is unpacked: " << length;
    }
    EXPECT_TRUE(unpack(good));
}

TEST_F(ZipArchiveTest, FullDiskIsTold) {
    const test::SmallVolume volume(fs::path(tree_.root()) / "volume", "128k");
    if (!volume.failure().empty()) {
        GTEST_SKIP() << volume.failure();
    }
    tree_.write("work/update.zip", makeZip({{"file", std::string(300000, 'x')}}));
    const auto unpacked = ZipArchive().unpack(archive(), volume.folder());
    ASSERT_FALSE(unpacked);
    EXPECT_EQ(unpacked.error().code, ArchiveFault::unwritable);
    EXPECT_EQ(unpacked.error().subject, "file");
}

TEST_F(ZipArchiveTest, WorkingDirectoryAndLocaleStayAsTheyWere) {
    const fs::path before = fs::current_path();
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    EXPECT_TRUE(unpack(kBundle));
    EXPECT_EQ(fs::current_path(), before);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    EXPECT_EQ(::uselocale(nullptr), LC_GLOBAL_LOCALE);
}

} // namespace
} // namespace korvel::platform
