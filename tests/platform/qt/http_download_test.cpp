#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/file_descriptor.h"
#include "platform/qt/https_test.h"

namespace korvel::platform {
namespace {

class HttpDownloads : public HttpsTest {
  protected:
    /// 0: no answer.
    int downloadStatus(const std::string& url) {
        const std::optional<HttpDownload> answer = download(url);
        return answer ? answer->status : 0;
    }

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

    static std::string contents(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
};

TEST_F(HttpDownloads, FileHasTheBodyAndIsTheUsersAlone) {
    for (const char* path : {"sized/5000000", "chunked/5000000"}) {
        int looks = 0;
        const auto answer = download(url(path), [&](const HttpDownload& got) {
            ++looks;
            EXPECT_EQ(got.path.rfind(temporary_.path().toStdString() + "/", 0), 0U) << got.path;
            EXPECT_TRUE(contents(got.path) == pattern(5000000));
            struct stat info {};
            ASSERT_EQ(::stat(got.path.c_str(), &info), 0);
            EXPECT_EQ(info.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
        });
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 200);
        EXPECT_EQ(looks, 1);
    }
}

TEST_F(HttpDownloads, FileLiesInTheFolderThatIsGivenOrWhereThatIsMissingAmongTheTemporaryOnes) {
    const QTemporaryDir given;
    const std::string kFolders[][2] = {
        {given.path().toStdString(), given.path().toStdString()},
        {given.filePath("missing").toStdString(), temporary_.path().toStdString()}};
    for (const auto& [folder, expected] : kFolders) {
        folder_ = folder;
        std::string found;
        download(url("sized/1000"),
                 [&](const HttpDownload& got) { found = got.path.substr(0, got.path.rfind('/')); });
        EXPECT_EQ(found, expected);
    }
}

TEST_F(HttpDownloads, FileIsGoneAfterTheAnswer) {
    ASSERT_TRUE(download(url("sized/1000"), [&](const HttpDownload& got) {
        EXPECT_EQ(::access(got.path.c_str(), F_OK), 0);
    }));
    EXPECT_EQ(temporaryFiles(), std::vector<std::string>{});
}

TEST_F(HttpDownloads, FileThatIsMovedAwayStays) {
    const QTemporaryDir folder;
    const std::string target = folder.filePath("kept").toStdString();
    ASSERT_TRUE(download(url("sized/1000"), [&](const HttpDownload& got) {
        ASSERT_EQ(::rename(got.path.c_str(), target.c_str()), 0);
    }));
    EXPECT_TRUE(contents(target) == pattern(1000));
}

TEST_F(HttpDownloads, FileIsRemovedWhenTheAnswerDestroysTheObject) {
    ASSERT_TRUE(download(url("sized/1000"), [&](const HttpDownload& got) {
        http_.reset();
        EXPECT_EQ(::access(got.path.c_str(), F_OK), 0);
    }));
    EXPECT_EQ(temporaryFiles(), std::vector<std::string>{});
}

TEST_F(HttpDownloads, StatusIsTheFinalOneWhateverItIs) {
    EXPECT_EQ(downloadStatus(url("status/200")), 200);
    EXPECT_EQ(downloadStatus(url("status/204")), 204);
    EXPECT_EQ(downloadStatus(url("status/404")), 404);
    EXPECT_EQ(downloadStatus(url("redirect/302/4")), 200);
    std::string body;
    download(url("redirect/302/0"), [&](const HttpDownload& got) { body = contents(got.path); });
    EXPECT_EQ(body, "body of 200");
}

TEST_F(HttpDownloads, NothingHalfComeIsAnAnswer) {
    for (const char* path : {"cut", "cut-abrupt", "cut-reset", "cut-chunked", "unframed",
                             "redirect-plain", "loop", "bomb", "length/6"}) {
        EXPECT_EQ(downloadStatus(url(path)), 0) << path;
        EXPECT_EQ(temporaryFiles(), std::vector<std::string>{}) << path;
    }
    EXPECT_EQ(downloadStatus(url("status/200", "expired")), 0);
    EXPECT_EQ(downloadStatus("http://127.0.0.1:" + port("plain") + "/"), 0);
    EXPECT_EQ(downloadStatus("nonsense"), 0);
}

TEST_F(HttpDownloads, LargerThanTheLimitIsRefusedWhenAnnounced) {
    static_assert(Http::kLargestDownload == 67108864);
    EXPECT_EQ(downloadStatus(url("announced/67108865")), 0);
    EXPECT_EQ(downloadStatus(url("announced/2147483648")), 0);
    EXPECT_EQ(downloadStatus(url("announced/99999999999999999999")), 0);
}

TEST_F(HttpDownloads, LargestIsTakenAndNotOneByteMore) {
    QtHttp::Settings settings;
    settings.largestDownload = 100000;
    make(settings);
    EXPECT_EQ(downloadStatus(url("sized/100000")), 200);
    EXPECT_EQ(downloadStatus(url("chunked/100000")), 200);
    EXPECT_EQ(downloadStatus(url("sized/100001")), 0);
    EXPECT_EQ(downloadStatus(url("chunked/100001")), 0);
    EXPECT_EQ(downloadStatus(url("endless")), 0);
}

TEST_F(HttpDownloads, SilenceEndsIt) {
    QtHttp::Settings settings;
    settings.longestSilence = 0.15;
    make(settings);
    EXPECT_EQ(downloadStatus(url("stalled")), 0);
    EXPECT_EQ(downloadStatus(url("stalled-headers")), 0);
    EXPECT_EQ(downloadStatus(url("stalled-within")), 0);
}

TEST_F(HttpDownloads, ByteNowAndThenKeepsItAliveUntilTheLimitOfTheWhole) {
    QtHttp::Settings settings;
    settings.longestSilence = 0.15;
    settings.longestDownload = 5;
    make(settings);
    EXPECT_EQ(downloadStatus(url("dripping/0.03/10")), 200);
    settings.longestDownload = 0.2;
    make(settings);
    EXPECT_EQ(downloadStatus(url("dripping/0.03/100")), 0);
}

TEST_F(HttpDownloads, DestroyedMidwayItLeavesNoFile) {
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

TEST_F(HttpDownloads, BodyIsNotHeldInMemory) {
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

TEST_F(HttpDownloads, FullOrReadOnlyDiskIsNoAnswerAndLeavesNothing) {
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
