#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include "platform/linux/update/zip_archive.h"
#include "platform/linux/update/zip_maker.h"
#include "support/temp_tree.h"

namespace korvel::test {

inline constexpr unsigned kLink = 0120777;
inline constexpr unsigned kFolder = 0040755;

/// An archive beside the folder that it is unpacked into.
class ZipArchiveTest : public testing::Test {
  protected:
    ZipArchiveTest() { std::filesystem::create_directories(out()); }

    std::filesystem::path out() const {
        return std::filesystem::path(tree_.root()) / "work" / "out";
    }
    std::filesystem::path archive() const {
        return std::filesystem::path(tree_.root()) / "work" / "update.zip";
    }

    Status<platform::ArchiveFault> unpack(const std::string& bytes) {
        tree_.write("work/update.zip", bytes);
        return platform::ZipArchive().unpack(archive(), out());
    }
    Status<platform::ArchiveFault> unpack(const std::vector<ZipMember>& members) {
        return unpack(makeZip(members));
    }

    /// Whether nothing but the archive and the folder is where they are.
    bool nothingOutside() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(out().parent_path())) {
            names.insert(entry.path().filename());
        }
        return names == std::set<std::string>{"out", "update.zip"} &&
               std::distance(std::filesystem::directory_iterator(tree_.root()), {}) == 1;
    }

    std::string text(const std::string& name) const {
        std::ifstream file(out() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TempTree tree_;
};

/// What the library's own writer makes of these, deflated.
inline std::string deflated(const std::vector<ZipMember>& members) {
    std::string bytes(std::size_t{4} << 20, '\0');
    std::size_t used = 0;
    archive* const writer = ::archive_write_new();
    ::archive_write_set_format_zip(writer);
    ::archive_write_set_bytes_in_last_block(writer, 1);
    ::archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    for (const ZipMember& member : members) {
        archive_entry* const entry = ::archive_entry_new();
        ::archive_entry_copy_pathname(entry, member.name.c_str());
        ::archive_entry_set_mode(entry, member.mode);
        ::archive_entry_set_mtime(entry, 1000000000, 0);
        if (member.mode == kLink) {
            ::archive_entry_copy_symlink(entry, member.content.c_str());
            ::archive_entry_set_size(entry, 0);
        } else {
            ::archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
        }
        EXPECT_EQ(::archive_write_header(writer, entry), ARCHIVE_OK);
        if (member.mode != kLink && !member.content.empty()) {
            ::archive_write_data(writer, member.content.data(), member.content.size());
        }
        ::archive_entry_free(entry);
    }
    EXPECT_EQ(::archive_write_close(writer), ARCHIVE_OK);
    ::archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

} // namespace korvel::test
