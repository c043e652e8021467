#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/linux/zip_archive.h"
#include "platform/linux/zip_index.h"

namespace fs = std::filesystem;

namespace {

/// A folder with the archive and the folder that it is unpacked into, in memory where there is
/// such a place.
const fs::path& workFolder() {
    static const fs::path folder = [] {
        const fs::path memory = "/dev/shm";
        const fs::path base = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        std::string name = (base / "korvel-fuzz-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        std::atexit([] { fs::remove_all(workFolder()); });
        return fs::path(name);
    }();
    return folder;
}

} // namespace

// Any bytes are unpacked into the folder or refused; nothing comes to lie beside it, no link leads
// out of it, and no more is there than the index told.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto index = korvel::platform::readZipIndex(bytes);
    if (!index) {
        return 0;
    }
    std::uintmax_t told = 0;
    for (const auto& [name, entry] : index->entries) {
        if (!korvel::platform::isPlainRelativePath(name)) {
            std::abort();
        }
        told += entry.size;
    }
    constexpr std::uintmax_t kQuick = std::uintmax_t{1} << 20;
    if (told > kQuick) {
        return 0;
    }
    const fs::path archive = workFolder() / "update.zip";
    const fs::path out = workFolder() / "out";
    std::ofstream(archive, std::ios::binary | std::ios::trunc) << bytes;
    fs::create_directory(out);
    const bool unpacked = korvel::platform::ZipArchive().unpack(archive, out);
    std::size_t entries = 0;
    std::uintmax_t found = 0;
    for (const auto& entry : fs::recursive_directory_iterator(out)) {
        ++entries;
        if (entry.is_symlink()) {
            std::error_code nowhere;
            const std::string real = fs::canonical(entry.path(), nowhere).string();
            if (!nowhere && real.rfind(out.string(), 0) != 0) {
                std::abort();
            }
        } else if (entry.is_regular_file()) {
            found += entry.file_size();
        } else if (!entry.is_directory()) {
            std::abort();
        }
    }
    const auto beside = std::distance(fs::directory_iterator(workFolder()), {});
    if (beside != 2 || found > told ||
        (unpacked && entries != index->entries.size() + index->impliedFolders.size())) {
        std::abort();
    }
    fs::remove_all(out);
    return 0;
}
