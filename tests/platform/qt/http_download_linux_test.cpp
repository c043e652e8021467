#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"
#include "platform/qt/https_test.h"

// What is seen of a download from outside: by the files of /proc, and on a disk of the test's own.
namespace korvel::platform {
namespace {

class HttpDownloadsOnLinux : public HttpsTest {
  protected:
    /// How many files in the folder of temporary files this program has open.
    int openFiles() const {
        const std::string folder = temporary_.path().toStdString() + "/";
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            const std::string path = std::filesystem::read_symlink(entry, gone);
            count += path.starts_with(folder) ? 1 : 0;
        }
        return count;
    }
};

TEST_F(HttpDownloadsOnLinux, DestroyedMidwayItLeavesNoFile) {
    int calls = 0;
    http_->download(url("stalled-within"), folder_,
                    [&](const std::optional<HttpDownload>&) { ++calls; });
    runFor(0.1);
    EXPECT_EQ(openFiles(), 1) << "with a name or without";
    http_.reset();
    EXPECT_EQ(openFiles(), 0);
    EXPECT_EQ(temporaryFiles(), std::vector<std::string>{});
    runFor(0.01);
    EXPECT_EQ(calls, 0);
}

/// The most memory that the process has held since it was last asked, in KiB.
long peakMemory() {
    std::ifstream file("/proc/self/status");
    long peak = 0;
    for (std::string word; file >> word;) {
        if (word == "VmHWM:") {
            file >> peak;
        }
    }
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts anew
    return peak;
}

TEST_F(HttpDownloadsOnLinux, BodyIsNotHeldInMemory) {
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "the sanitizer itself holds what has been freed";
#endif
#endif
    ASSERT_EQ(downloadStatus(url("sized/1000")), 200); // the libraries are there now
    peakMemory();
    const long before = peakMemory();
    ASSERT_GT(before, 0);
    ASSERT_EQ(downloadStatus(url("sized/50000000")), 200);
    EXPECT_LT(peakMemory() - before, 8 << 10);
}

/// Mounts of this thread alone, for as long as the object lives.
class PrivateMounts {
  public:
    PrivateMounts() : old_(::open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC)) {
        isPrivate_ = old_ && ::unshare(CLONE_NEWNS) == 0 &&
                     ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    ~PrivateMounts() { ::setns(old_.get(), CLONE_NEWNS); }
    PrivateMounts(const PrivateMounts&) = delete;
    PrivateMounts& operator=(const PrivateMounts&) = delete;

    bool mountSmallDisk(const std::string& folder) const {
        return isPrivate_ && ::mount("small", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
    }
    static bool makeReadOnly(const std::string& folder) {
        return ::mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

  private:
    FileDescriptor old_;
    bool isPrivate_ = false;
};

TEST_F(HttpDownloadsOnLinux, FullOrReadOnlyDiskIsNoAnswerAndLeavesNothing) {
    const std::string folder = temporary_.filePath("small").toStdString();
    ASSERT_EQ(::mkdir(folder.c_str(), S_IRWXU), 0);
    const PrivateMounts mounts;
    if (!mounts.mountSmallDisk(folder)) {
        GTEST_SKIP() << "a small file system can be mounted by the superuser only";
    }
    folder_ = folder;
    EXPECT_EQ(downloadStatus(url("sized/1500000")), 0);
    EXPECT_TRUE(QDir(folder.c_str()).isEmpty());
    EXPECT_EQ(downloadStatus(url("sized/1000000")), 200);
    EXPECT_TRUE(QDir(folder.c_str()).isEmpty());

    ASSERT_TRUE(PrivateMounts::makeReadOnly(folder));
    EXPECT_EQ(downloadStatus(url("sized/1000")), 0);
    EXPECT_EQ(downloadStatus(url("status/204")), 0);
}

} // namespace
} // namespace korvel::platform
