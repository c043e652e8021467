#include "platform/qt/http.h"

#include <utility>

#include <QDir>
#include <QNetworkAccessManager>
#include <QTemporaryFile>
#include <QUrl>

#include "platform/qt/fetch.h"

namespace korvel::platform {

namespace {

/// All of a request but its address.
QNetworkRequest makeRequest(const std::optional<QSslConfiguration>& tls) {
    QNetworkRequest request;
    if (tls) {
        request.setSslConfiguration(*tls);
    }
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setRawHeader("User-Agent", "Korvel");
    // Without these Qt would tell the user's language, and unpack whatever comes packed.
    request.setRawHeader("Accept-Language", "*");
    request.setRawHeader("Accept-Encoding", "identity");
    request.setRawHeader("Connection", "close");
    return request;
}

QUrl toUrl(const std::string& text) {
    return QUrl(QString::fromStdString(text), QUrl::StrictMode);
}

} // namespace

QtHttp::QtHttp() : QtHttp(Settings()) {}

QtHttp::QtHttp(Settings settings) : settings_(std::move(settings)) {}

QtHttp::~QtHttp() = default;

void QtHttp::get(const std::string& url, double timeout,
                 std::function<void(std::optional<HttpResponse>)> done) {
    auto body = std::make_shared<std::string>();
    start(
        url, {.total = timeout, .silence = std::nullopt, .largest = kLargestBody},
        [body](std::string_view piece) {
            body->append(piece);
            return true;
        },
        [body, done = std::move(done)](std::optional<int> status) {
            done(status ? std::optional(HttpResponse{*status, std::move(*body)}) : std::nullopt);
        });
}

void QtHttp::download(const std::string& url, const std::string& folder,
                      std::function<void(std::optional<HttpDownload>)> done) {
    const QString given = QFile::decodeName(QByteArray::fromStdString(folder));
    // The answer holds the file, so it goes when the answer has been given or never will be.
    auto file = std::make_shared<QTemporaryFile>((QDir(given).exists() ? given : QDir::tempPath()) +
                                                 QStringLiteral("/korvel-XXXXXX"));
    file->open();
    start(
        url,
        {.total = settings_.longestDownload,
         .silence = settings_.longestSilence,
         .largest = settings_.largestDownload},
        [file](std::string_view piece) {
            return file->write(piece.data(), std::ssize(piece)) == std::ssize(piece) &&
                   file->flush();
        },
        [file, done = std::move(done)](std::optional<int> status) {
            if (!status || !file->isOpen()) {
                file->remove();
                done(std::nullopt);
                return;
            }
            // Asked for while it is open: until then it has no name where the system allows that.
            const std::string path = QFile::encodeName(file->fileName()).toStdString();
            file->close();
            done(HttpDownload{*status, path});
        });
}

void QtHttp::start(const std::string& url, const Fetch::Limits& limits, Fetch::Keep keep,
                   Fetch::Done done) {
    if (manager_ == nullptr) {
        manager_ = std::make_unique<QNetworkAccessManager>();
    }
    // Taken out of the list before the answer is given, which may destroy this object.
    auto place = std::make_shared<const Fetch*>(nullptr);
    auto finish = [this, place, done = std::move(done)](std::optional<int> status) {
        remove(*place);
        done(status);
    };
    auto fetch = std::make_unique<Fetch>(*manager_, makeRequest(settings_.tls), limits,
                                         std::move(keep), std::move(finish));
    *place = fetch.get();
    fetches_.push_back(std::move(fetch));
    fetches_.back()->start(toUrl(url));
}

void QtHttp::remove(const Fetch* fetch) {
    std::erase_if(fetches_, [fetch](const auto& other) { return other.get() == fetch; });
    if (!fetches_.empty()) {
        return;
    }
    manager_.reset();
    if (settings_.idle) {
        QMetaObject::invokeMethod(
            &turn_,
            [this] {
                if (fetches_.empty()) {
                    settings_.idle();
                }
            },
            Qt::QueuedConnection);
    }
}

} // namespace korvel::platform
