#include "platform/qt/fetch.h"

#include <array>
#include <chrono>
#include <utility>

#include <QNetworkAccessManager>

namespace korvel::platform {

namespace {

constexpr int kMostRedirects = 5;

/// Bytes that wait to be read, so that a fast server cannot fill the memory between two turns.
constexpr int kBuffer = 64 << 10;

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

bool isHttps(const QUrl& url) {
    return url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty();
}

/// Whether the error is only that the status is one: the response itself has come as it was sent.
bool isStatus(QNetworkReply::NetworkError error) {
    return error == QNetworkReply::NoError ||
           (error >= QNetworkReply::ContentAccessDenied &&
            error <= QNetworkReply::UnknownContentError) ||
           (error >= QNetworkReply::InternalServerError &&
            error <= QNetworkReply::UnknownServerError);
}

/// The announced length of the body in bytes; -1: it comes in chunks, of which the last says that
/// it is; nullopt: neither, so that nothing would tell the body's end from a cut.
std::optional<long long> announcedLength(const QNetworkReply& reply) {
    const QByteArray name("Content-Length");
    if (!reply.hasRawHeader(name)) {
        const bool chunks = reply.rawHeader("Transfer-Encoding").toLower().contains("chunked");
        return chunks ? std::optional(-1LL) : std::nullopt;
    }
    bool isNumber = false;
    const long long length = reply.rawHeader(name).trimmed().toLongLong(&isNumber);
    return isNumber && length >= 0 ? std::optional(length) : std::nullopt;
}

/// A coding that was not asked for hides what the body is, and how much.
bool isEncoded(const QNetworkReply& reply) {
    const QByteArray coding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    return !coding.isEmpty() && coding != "identity";
}

int statusOf(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// Whether the status itself says that no body follows, whatever length is told.
bool isBodiless(const QNetworkReply& reply) {
    constexpr int kNoContent = 204;
    constexpr int kNotModified = 304;
    const int status = statusOf(reply);
    return status == kNoContent || status == kNotModified;
}

} // namespace

Fetch::Fetch(QNetworkAccessManager& manager, const QNetworkRequest& request, Limits limits,
             Keep keep, Done done)
    : manager_(manager), request_(request), limits_(limits), keep_(std::move(keep)),
      done_(std::move(done)) {
    for (QTimer* timer : {&total_, &silence_}) {
        timer->setSingleShot(true);
        timer->callOnTimeout(this, [this] { answer(std::nullopt); });
    }
}

Fetch::~Fetch() {
    drop();
}

void Fetch::start(const QUrl& url) {
    total_.start(milliseconds(limits_.total));
    if (limits_.silence) {
        silence_.setInterval(milliseconds(*limits_.silence));
        silence_.start();
    }
    ask(url);
}

void Fetch::ask(const QUrl& url) {
    if (!isHttps(url)) {
        answer(std::nullopt);
        return;
    }
    request_.setUrl(url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment));
    reply_ = manager_.get(request_);
    reply_->setReadBufferSize(kBuffer);
    QObject::connect(reply_, &QNetworkReply::metaDataChanged, this, &Fetch::headersCame);
    QObject::connect(reply_, &QNetworkReply::readyRead, this, &Fetch::bytesCame);
    QObject::connect(reply_, &QNetworkReply::finished, this, &Fetch::ended);
}

void Fetch::headersCame() {
    if (headersSeen_ || statusOf(*reply_) == 0) {
        return;
    }
    if (limits_.silence) {
        silence_.start();
    }
    const QUrl target = reply_->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (!target.isEmpty()) {
        // What the redirect's own body says is of no interest, however long it is.
        const QUrl next = reply_->url().resolved(target);
        drop();
        if (++redirects_ > kMostRedirects) {
            answer(std::nullopt);
        } else {
            ask(next);
        }
        return;
    }
    headersSeen_ = true;
    if (isBodiless(*reply_)) {
        return;
    }
    const std::optional<long long> length = announcedLength(*reply_);
    if (!length || *length > limits_.largest || isEncoded(*reply_)) {
        answer(std::nullopt);
    }
}

void Fetch::bytesCame() {
    headersCame();
    if (!headersSeen_) {
        return;
    }
    std::array<char, kBuffer> piece; // NOLINT(cppcoreguidelines-pro-type-member-init)
    while (reply_ != nullptr) {
        const qint64 size = reply_->read(piece.data(), std::ssize(piece));
        if (size <= 0) {
            return;
        }
        if (limits_.silence) {
            silence_.start();
        }
        kept_ += size;
        if (kept_ > limits_.largest ||
            !keep_(std::string_view(piece.data(), static_cast<std::size_t>(size)))) {
            answer(std::nullopt);
        }
    }
}

void Fetch::ended() {
    bytesCame();
    if (reply_ == nullptr || !reply_->isFinished()) {
        return; // that settled it, or a redirect goes on
    }
    const long long length = announcedLength(*reply_).value_or(-1);
    const bool whole = length < 0 || length == kept_ || isBodiless(*reply_);
    answer(headersSeen_ && isStatus(reply_->error()) && whole ? std::optional(statusOf(*reply_))
                                                              : std::nullopt);
}

void Fetch::drop() {
    if (reply_ == nullptr) {
        return;
    }
    QNetworkReply* const reply = std::exchange(reply_, nullptr);
    QObject::disconnect(reply, nullptr, this, nullptr);
    reply->abort();
    reply->deleteLater();
}

void Fetch::answer(std::optional<int> status) {
    total_.stop();
    silence_.stop();
    drop();
    QMetaObject::invokeMethod(
        this,
        [this, status] {
            const Done done = std::move(done_);
            done(status);
        },
        Qt::QueuedConnection);
}

} // namespace korvel::platform
