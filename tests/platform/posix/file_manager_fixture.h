#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/file_manager.h"
#include "support/ordinary_user.h"

namespace korvel::test {

/// A folder of the test's own.
class FileManagerTest : public testing::Test {
  protected:
    FileManagerTest() {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    ~FileManagerTest() override { manager_.remove(folder_); }

    std::string path(const std::string& name) const { return folder_ / name; }

    static void write(const std::filesystem::path& file, const std::string& text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }

    /// A bundle with what is easily lost on the way: modes, times, links (one of them dangling), an
    /// empty folder, a folder that may not be written.
    static void makeBundle(const std::filesystem::path& bundle) {
        write(bundle / "Contents/Info.plist", "<plist/>");
        write(bundle / "Contents/Linux/korvel", std::string(200000, 'k'));
        write(bundle / "Contents/Resources/readable only", "text");
        std::filesystem::create_directories(bundle / "Contents/Empty");
        std::filesystem::create_symlink("Linux/korvel", bundle / "Contents/link");
        std::filesystem::create_symlink("nowhere", bundle / "Contents/dangling");
        std::filesystem::permissions(bundle / "Contents/Linux/korvel",
                                     std::filesystem::perms(0755));
        std::filesystem::permissions(bundle / "Contents/Resources/readable only",
                                     std::filesystem::perms(0440));
        const timespec longAgo[2] = {{1000000000, 5}, {1000000000, 5}};
        for (const char* name : {"Contents/Linux/korvel", "Contents/link", "Contents/Resources"}) {
            ::utimensat(AT_FDCWD, (bundle / name).c_str(), longAgo, AT_SYMLINK_NOFOLLOW);
        }
        std::filesystem::permissions(bundle / "Contents/Resources", std::filesystem::perms(0555));
    }

    /// The exit status of what a child of this process answers, as an ordinary user.
    static int asOrdinaryUser(const std::function<bool()>& work) {
        const pid_t child = ::fork();
        if (child == 0) {
            constexpr int kNoOrdinaryUser = 2;
            std::_Exit(!becomeOrdinaryUser() ? kNoOrdinaryUser : work() ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::filesystem::path folder_ = std::filesystem::path(testing::TempDir()) /
                                    ("korvel-manager-" + std::to_string(::getpid()));
    platform::PosixFileManager manager_;
};

} // namespace korvel::test
