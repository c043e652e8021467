#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/fuzz.h"
#include "fuzz/work_folder.h"
#include "platform/linux/update/relative_path.h"
#include "platform/linux/update/zip_archive.h"
#include "platform/linux/update/zip_index.h"

namespace fs = std::filesystem;

// Any bytes are unpacked into the folder or refused; nothing comes to lie beside it, no link leads
// out of it, and no more is there than the index told.
void fuzz(std::string_view bytes) {
    const auto index = korvel::platform::readZipIndex(bytes);
    if (!index) {
        return;
    }
    std::uintmax_t told = 0;
    for (const auto& [name, entry] : index->entries) {
        require(korvel::platform::isPlainRelativePath(name), "names are plain relative paths");
        told += entry.size;
    }
    constexpr std::uintmax_t kQuick = std::uintmax_t{1} << 20;
    if (told > kQuick) {
        return;
    }
    const WorkFolder folder;
    const fs::path archive = folder.path() / "update.zip";
    const fs::path out = folder.path() / "out";
    std::ofstream(archive, std::ios::binary | std::ios::trunc) << bytes;
    fs::create_directory(out);
    const auto unpacked = korvel::platform::ZipArchive().unpack(archive, out);
    std::size_t entries = 0;
    std::uintmax_t found = 0;
    for (const auto& entry : fs::recursive_directory_iterator(out)) {
        ++entries;
        if (entry.is_symlink()) {
            std::error_code nowhere;
            const std::string real = fs::canonical(entry.path(), nowhere).string();
            require(nowhere || real.starts_with(out.string()), "no link leads out");
        } else if (entry.is_regular_file()) {
            found += entry.file_size();
        } else {
            require(entry.is_directory(), "files, folders and links only");
        }
    }
    const auto beside = std::distance(fs::directory_iterator(folder.path()), {});
    require(beside == 2, "nothing lies beside the folder");
    require(found <= told, "no more bytes than the index told");
    require(!unpacked || entries == index->entries.size() + index->impliedFolders.size(),
            "every entry and nothing else");
}
