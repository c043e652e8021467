#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QTimer>

namespace korvel::platform {

/// One document on its way: a request, those that its redirects lead to, and its limits.
class Fetch final : public QObject {
  public:
    struct Limits {
        double total = 0;              ///< seconds, from the start to the whole body
        std::optional<double> silence; ///< seconds without a byte
        long long largest = 0;         ///< bytes of the body
    };
    /// Takes a piece of the final body. False: it cannot be kept, so there will be no answer.
    using Keep = std::function<bool(std::string_view piece)>;
    /// Runs once, on a later turn, with the final status; none: no whole response came. It may
    /// destroy the fetch.
    using Done = std::function<void(std::optional<int> status)>;

    /// The manager outlives the fetch. `request` carries all but the address.
    Fetch(QNetworkAccessManager& manager, const QNetworkRequest& request, Limits limits, Keep keep,
          Done done);
    /// Gives the document up if it is still on its way; `done` is not called then.
    ~Fetch() override;

    void start(const QUrl& url);

  private:
    void ask(const QUrl& url);
    void headersCame();
    void bytesCame();
    void ended();
    void drop();
    void answer(std::optional<int> status);

    QNetworkAccessManager& manager_;
    QNetworkRequest request_;
    const Limits limits_;
    Keep keep_;
    Done done_;
    QPointer<QNetworkReply> reply_;
    QTimer total_;
    QTimer silence_;
    int redirects_ = 0;
    long long kept_ = 0;       ///< bytes
    bool headersSeen_ = false; ///< of the final response
};

} // namespace korvel::platform
