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

    Status<ArchiveFault> run() {
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
            return damaged("");
        }
        for (const std::string& path : index_.impliedFolders) {
            if (!makeFolder(path)) {
                return unwritable(path);
            }
        }
        for (;;) {
            archive_entry* entry = nullptr;
            const int status = ::archive_read_next_header(reader_.get(), &entry);
            if (status == ARCHIVE_EOF) {
                break;
            }
            if (status != ARCHIVE_OK) {
                return damaged("");
            }
            if (Status<ArchiveFault> unpacked = unpack(entry); !unpacked) {
                return unpacked;
            }
        }
        if (!index_.entries.empty()) {
            return damaged(index_.entries.begin()->first);
        }
        // Closed here: modes and times of folders are set last.
        return ::archive_write_close(writer_.get()) == ARCHIVE_OK ? Status<ArchiveFault>()
                                                                  : unwritable("");
    }

  private:
    static constexpr mode_t kFolderMode = 0755;

    Error<ArchiveFault> damaged(const std::string& name) const {
        const char* const said = reader_ ? ::archive_error_string(reader_.get()) : nullptr;
        return {ArchiveFault::damaged, name, said == nullptr ? "" : said};
    }
    Error<ArchiveFault> unwritable(const std::string& name) const {
        const char* const said = ::archive_error_string(writer_.get());
        return {ArchiveFault::unwritable, name, said == nullptr ? "" : said};
    }

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

    Status<ArchiveFault> unpack(archive_entry* entry) {
        const char* const found = ::archive_entry_pathname(entry);
        const auto known = index_.entries.find(found == nullptr ? "" : found);
        if (known == index_.entries.end()) {
            return damaged(""); // not as the index spells it
        }
        const std::string name = known->first;
        const ZipEntry told = known->second;
        index_.entries.erase(known);
        if (Status<ArchiveFault> checked = check(entry, name, told.kind); !checked) {
            return checked;
        }
        // Not the user's mask, which would make two users' copies differ.
        constexpr mode_t kKept = 0755;
        ::archive_entry_set_perm(entry, ::archive_entry_perm(entry) & kKept);
        ::archive_entry_copy_pathname(entry, pathOf(name).c_str());
        if (::archive_write_header(writer_.get(), entry) != ARCHIVE_OK) {
            return unwritable(name);
        }
        if (::archive_entry_filetype(entry) == AE_IFREG) {
            if (Status<ArchiveFault> copied = copyData(name, told.size); !copied) {
                return copied;
            }
        }
        return ::archive_write_finish_entry(writer_.get()) == ARCHIVE_OK ? Status<ArchiveFault>()
                                                                         : unwritable(name);
    }

    static Status<ArchiveFault> check(archive_entry* entry, const std::string& name, ZipKind told) {
        const auto type = ::archive_entry_filetype(entry);
        const auto expected = told == ZipKind::folder ? AE_IFDIR
                              : told == ZipKind::file ? AE_IFREG
                                                      : AE_IFLNK;
        if (type != expected) {
            return Error{ArchiveFault::damaged, name};
        }
        if (told == ZipKind::link) {
            const char* const target = ::archive_entry_symlink(entry);
            if (target == nullptr || !linkStaysInside(name, target)) {
                return Error{ArchiveFault::leavesFolder, name};
            }
        }
        return {};
    }

    /// Exactly the bytes that the index told, or not at all.
    Status<ArchiveFault> copyData(const std::string& name, std::uint64_t size) {
        std::uint64_t copied = 0;
        for (;;) {
            const void* block = nullptr;
            std::size_t length = 0;
            la_int64_t place = 0;
            const int status = ::archive_read_data_block(reader_.get(), &block, &length, &place);
            if (status == ARCHIVE_EOF) {
                return copied == size ? Status<ArchiveFault>() : damaged(name);
            }
            if (status != ARCHIVE_OK || length > size - copied) {
                return damaged(name);
            }
            if (::archive_write_data_block(writer_.get(), block, length, place) != ARCHIVE_OK) {
                return unwritable(name);
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

Status<ArchiveFault> ZipArchive::unpack(const std::string& archive, const std::string& folder) {
    const auto bytes = PosixFiles().read(archive);
    if (!bytes) {
        return Error{ArchiveFault::unreadable};
    }
    auto index = readZipIndex(*bytes);
    if (!index) {
        return index.error();
    }
    std::string into = realPath(folder);
    if (into.empty()) {
        return Error{ArchiveFault::noFolder};
    }
    const Utf8Names names;
    return Unpacking(*bytes, *std::move(index), std::move(into)).run();
}

} // namespace korvel::platform
