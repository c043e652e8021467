#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "fuzz/fuzz.h"
#include "platform/linux/update/relative_path.h"
#include "platform/linux/update/zip_archive.h"
#include "platform/linux/update/zip_index.h"

namespace fs = std::filesystem;

namespace {

/// A folder for the archive and the folder that it is unpacked into, in memory where there is such
/// a place. It goes after each input: the fuzzer ends without taking anything down.
class WorkFolder {
  public:
    WorkFolder() {
        const fs::path memory = "/dev/shm";
        const fs::path base = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        std::string name = (base / "korvel-fuzz-XXXXXX").string();
        require(::mkdtemp(name.data()) != nullptr, "a folder to work in");
        path_ = name;
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

} // namespace

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
