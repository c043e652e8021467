#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/qt/https_test.h"

namespace korvel::platform {
namespace {

class HttpDownloads : public HttpsTest {
  protected:
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

} // namespace
} // namespace korvel::platform
