#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTimer>

#include "platform/qt/http.h"

namespace korvel::platform {

/// A QtHttp that knows a server of many faults, see https_server.py, and believes its authority.
/// Temporary files go to a folder of the test's own.
class HttpsTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = std::make_unique<Server>();
        server_->process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        server_->process.start("python3", {KORVEL_HTTPS_SERVER, server_->folder.path()});
        while (!server_->process.canReadLine() && server_->process.waitForReadyRead()) {
        }
        const QString line = QString::fromUtf8(server_->process.readLine()).trimmed();
        for (const QString& word : line.split(' ', Qt::SkipEmptyParts)) {
            const QStringList pair = word.split('=');
            server_->ports[pair.value(0).toStdString()] = pair.value(1).toStdString();
        }
        ASSERT_TRUE(server_->ports.contains("good")) << "the server did not start";
    }

    static void TearDownTestSuite() {
        server_->process.closeWriteChannel();
        server_->process.waitForFinished();
        server_.reset();
    }

    void SetUp() override {
        ASSERT_TRUE(temporary_.isValid());
        ::setenv("TMPDIR", temporary_.path().toLocal8Bit().constData(), 1);
        make({});
    }

    void TearDown() override {
        http_.reset();
        EXPECT_EQ(temporaryFiles(), std::vector<std::string>{}) << "left behind";
        ::unsetenv("TMPDIR");
    }

    /// A new http_, with these settings but for the authority.
    void make(QtHttp::Settings settings) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(QSslCertificate::fromPath(server_->folder.filePath("authority.pem")));
        settings.tls = tls;
        http_ = std::make_unique<QtHttp>(std::move(settings));
    }

    static bool isServed(const std::string& kind) { return server_->ports.contains(kind); }

    static std::string port(const std::string& kind) { return server_->ports.at(kind); }

    static std::string url(const std::string& path, const std::string& kind = "good") {
        return "https://127.0.0.1:" + port(kind) + "/" + path;
    }

    /// What is answered, and that it is answered once and on a later turn.
    std::optional<HttpResponse> get(const std::string& url, double timeout = 5) {
        std::optional<HttpResponse> result;
        int calls = 0;
        http_->get(url, timeout, [&](std::optional<HttpResponse> response) {
            result = std::move(response);
            if (++calls == 1) {
                QCoreApplication::exit();
            }
        });
        EXPECT_EQ(calls, 0);
        QCoreApplication::exec();
        runFor(0.002);
        EXPECT_EQ(calls, 1);
        return result;
    }

    /// 0: no answer.
    int status(const std::string& url, double timeout = 5) {
        const std::optional<HttpResponse> response = get(url, timeout);
        return response ? response->status : 0;
    }

    /// Lets `inspect` see the answer within the callback.
    std::optional<HttpDownload>
    download(const std::string& url, const std::function<void(const HttpDownload&)>& inspect = {}) {
        std::optional<HttpDownload> result;
        int calls = 0;
        http_->download(url, folder_, [&](const std::optional<HttpDownload>& response) {
            result = response;
            if (response && inspect) {
                inspect(*response);
            }
            if (++calls == 1) {
                QCoreApplication::exit();
            }
        });
        EXPECT_EQ(calls, 0);
        QCoreApplication::exec();
        runFor(0.002);
        EXPECT_EQ(calls, 1);
        return result;
    }

    /// 0: no answer.
    int downloadStatus(const std::string& url) {
        const std::optional<HttpDownload> answer = download(url);
        return answer ? answer->status : 0;
    }

    static void runFor(double seconds) {
        QTimer::singleShot(
            std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)),
            [] { QCoreApplication::exit(); });
        QCoreApplication::exec();
    }

    std::vector<std::string> temporaryFiles() const {
        std::vector<std::string> names;
        for (const QString& name : QDir(temporary_.path()).entryList(QDir::Files)) {
            names.push_back(name.toStdString());
        }
        return names;
    }

    /// The body that the server sends for a size.
    static std::string pattern(std::size_t size) {
        std::string text(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            text[i] = static_cast<char>(i % 256);
        }
        return text;
    }

    QTemporaryDir temporary_;
    std::string folder_ = temporary_.path().toStdString(); ///< of downloads
    std::unique_ptr<QtHttp> http_;

  private:
    struct Server {
        QTemporaryDir folder;
        QProcess process;
        std::map<std::string, std::string> ports;
    };
    inline static std::unique_ptr<Server> server_;

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
};

} // namespace korvel::platform
