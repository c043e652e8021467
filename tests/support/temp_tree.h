#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace korvel {

/// A folder of its own that takes the place of the root, removed with everything in it.
class TempTree {
  public:
    TempTree() {
        std::string name = (std::filesystem::temp_directory_path() / "korvel-tree-XXXXXX").string();
        root_ = ::mkdtemp(name.data());
    }
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;
    ~TempTree() { std::filesystem::remove_all(root_); }

    std::string root() const { return root_.string(); }

    /// Writes a file in place, its folders made.
    void write(const std::string& path, std::string_view text) const {
        const std::filesystem::path file = root_ / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    }

    void remove(const std::string& path) const { std::filesystem::remove_all(root_ / path); }

    /// Copies a recorded tree into it. Files that are there already are written in place.
    void copyFixture(const std::string& name) const {
        std::filesystem::copy(std::filesystem::path(KORVEL_FIXTURES) / "linux" / name, root_,
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::overwrite_existing);
    }

  private:
    std::filesystem::path root_;
};

} // namespace korvel
