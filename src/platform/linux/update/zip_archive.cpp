#include "platform/linux/update/zip_archive.h"

#include <clocale>
#include <cstdlib>
#include <memory>

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include "platform/linux/update/relative_path.h"
#include "platform/linux/update/zip_index.h"
#include "platform/posix/files.h"

namespace korvel::platform {

namespace {

using Reader = std::unique_ptr<archive, int (*)(archive*)>;
using Writer = std::unique_ptr<archive, int (*)(archive*)>;
using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

/// While it lives, names are UTF-8 on this thread, whatever the user's locale.
class Utf8Names {
  public:
    Utf8Names() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (locale_ != nullptr) {
            before_ = ::uselocale(locale_);
        }
    }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;
    ~Utf8Names() {
        if (locale_ != nullptr) {
            ::uselocale(before_);
            ::freelocale(locale_);
        }
    }

  private:
    locale_t locale_;
    locale_t before_ = nullptr;
};

/// Absolute and without links; empty when there is no such folder.
std::string realPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr),
                                                      &std::free);
    return real ? real.get() : "";
}

/// The unpacking of one archive into one folder. Whatever the library calls less than a success is
/// a failure here: it warns of wrong checksums and sizes, and goes on.
class Unpacking {
  public:
    Unpacking(std::string_view bytes, ZipIndex index, std::string folder)
        : bytes_(bytes), index_(std::move(index)), folder_(std::move(folder)) {}

    bool run() {
        // Names were found to be relative before the folder's path is put in front of them, so
        // ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS would only refuse that. Without it the unpacking
        // would have to change the working directory, which the whole program shares.
        constexpr int kFlags = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME |
                               ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT;
        if (!reader_ || !writer_ ||
            ::archive_read_support_format_zip_seekable(reader_.get()) != ARCHIVE_OK ||
            ::archive_read_set_options(reader_.get(), "zip:hdrcharset=UTF-8") != ARCHIVE_OK ||
            ::archive_read_open_memory(reader_.get(), bytes_.data(), bytes_.size()) != ARCHIVE_OK ||
            ::archive_write_disk_set_options(writer_.get(), kFlags) != ARCHIVE_OK) {
            return false;
        }
        for (const std::string& path : index_.impliedFolders) {
            if (!makeFolder(path)) {
                return false;
            }
        }
        for (;;) {
            archive_entry* entry = nullptr;
            const int status = ::archive_read_next_header(reader_.get(), &entry);
            if (status == ARCHIVE_EOF) {
                break;
            }
            if (status != ARCHIVE_OK || !unpack(entry)) {
                return false;
            }
        }
        // Closed here: modes and times of folders are set last.
        return index_.entries.empty() && ::archive_write_close(writer_.get()) == ARCHIVE_OK;
    }

  private:
    static constexpr mode_t kFolderMode = 0755;

    std::string pathOf(const std::string& name) const { return folder_ + "/" + name; }

    bool makeFolder(const std::string& name) {
        const Entry entry(::archive_entry_new(), &::archive_entry_free);
        if (!entry) {
            return false;
        }
        ::archive_entry_copy_pathname(entry.get(), pathOf(name).c_str());
        ::archive_entry_set_filetype(entry.get(), AE_IFDIR);
        ::archive_entry_set_perm(entry.get(), kFolderMode);
        return ::archive_write_header(writer_.get(), entry.get()) == ARCHIVE_OK;
    }

    bool unpack(archive_entry* entry) {
        const char* const found = ::archive_entry_pathname(entry);
        const auto known = index_.entries.find(found == nullptr ? "" : found);
        if (known == index_.entries.end()) {
            return false; // not as the index spells it
        }
        const std::string name = known->first;
        const ZipEntry told = known->second;
        index_.entries.erase(known);
        if (!isAsTold(entry, name, told.kind)) {
            return false;
        }
        // Not the user's mask, which would make two users' copies differ.
        constexpr mode_t kKept = 0755;
        ::archive_entry_set_perm(entry, ::archive_entry_perm(entry) & kKept);
        ::archive_entry_copy_pathname(entry, pathOf(name).c_str());
        if (::archive_write_header(writer_.get(), entry) != ARCHIVE_OK) {
            return false;
        }
        return (::archive_entry_filetype(entry) != AE_IFREG || copyData(told.size)) &&
               ::archive_write_finish_entry(writer_.get()) == ARCHIVE_OK;
    }

    static bool isAsTold(archive_entry* entry, const std::string& name, ZipKind kind) {
        if (::archive_entry_hardlink(entry) != nullptr ||
            ::archive_entry_is_encrypted(entry) != 0) {
            return false;
        }
        switch (::archive_entry_filetype(entry)) {
        case AE_IFDIR:
            return kind == ZipKind::folder;
        case AE_IFREG:
            return kind == ZipKind::file;
        case AE_IFLNK: {
            const char* const target = ::archive_entry_symlink(entry);
            return kind == ZipKind::link && target != nullptr && linkStaysInside(name, target);
        }
        default:
            return false;
        }
    }

    /// Exactly the bytes that the index told, or not at all.
    bool copyData(std::uint64_t size) {
        std::uint64_t copied = 0;
        for (;;) {
            const void* block = nullptr;
            std::size_t length = 0;
            la_int64_t place = 0;
            const int status = ::archive_read_data_block(reader_.get(), &block, &length, &place);
            if (status == ARCHIVE_EOF) {
                return copied == size;
            }
            if (status != ARCHIVE_OK || length > size - copied) {
                return false;
            }
            if (::archive_write_data_block(writer_.get(), block, length, place) != ARCHIVE_OK) {
                return false;
            }
            copied += length;
        }
    }

    std::string_view bytes_;
    ZipIndex index_; ///< what is still to come
    std::string folder_;
    Reader reader_{::archive_read_new(), &::archive_read_free};
    Writer writer_{::archive_write_disk_new(), &::archive_write_free};
};

} // namespace

bool ZipArchive::unpack(const std::string& archive, const std::string& folder) {
    const auto bytes = PosixFiles().read(archive);
    if (!bytes) {
        return false;
    }
    auto index = readZipIndex(*bytes);
    std::string into = realPath(folder);
    if (!index || into.empty()) {
        return false;
    }
    const Utf8Names names;
    return Unpacking(*bytes, std::move(*index), std::move(into)).run();
}

} // namespace korvel::platform
