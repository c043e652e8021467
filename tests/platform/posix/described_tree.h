#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <sys/stat.h>

namespace korvel::test {

/// One entry in words: its kind and mode, when it was changed last, its link target or content.
inline std::string describedEntry(const std::filesystem::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return "missing";
    }
    std::string words = std::to_string(status.st_mode);
    words += " " + std::to_string(status.st_mtim.tv_sec);
    words += "." + std::to_string(status.st_mtim.tv_nsec) + " ";
    if (S_ISLNK(status.st_mode)) {
        words += std::filesystem::read_symlink(path).string();
    } else if (S_ISREG(status.st_mode)) {
        std::ifstream file(path, std::ios::binary);
        words.append(std::istreambuf_iterator<char>(file), {});
    }
    return words;
}

/// All that is at and below a path, by relative path. Empty when nothing is there.
inline std::set<std::string> describedTree(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    std::set<std::string> entries;
    if (!fs::exists(fs::symlink_status(path))) {
        return entries;
    }
    entries.insert(": " + describedEntry(path));
    if (fs::is_directory(fs::symlink_status(path))) {
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            entries.insert(entry.path().lexically_relative(path).string() + ": " +
                           describedEntry(entry.path()));
        }
    }
    return entries;
}

} // namespace korvel::test
