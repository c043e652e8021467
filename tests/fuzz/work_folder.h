#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <unistd.h>

#include "fuzz/fuzz.h"

/// A folder for the files of one input, in memory where there is such a place. It goes with its
/// content after each input: the fuzzer ends without taking anything down.
class WorkFolder {
  public:
    WorkFolder() {
        namespace fs = std::filesystem;
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
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};
