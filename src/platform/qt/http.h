#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>
#include <QSslConfiguration>

#include "platform/http.h"
#include "platform/qt/fetch.h"

class QNetworkAccessManager;

namespace korvel::platform {

/// HTTPS through Qt. Servers are believed on the word of the system's authorities, whatever a
/// server asks (a password, a cookie) is left unanswered, and a request tells of the machine no
/// more than that it runs Korvel.
///
/// The network stack is wanted for seconds a day, so it is made for the first of the requests under
/// way and given back after the last. The TLS library stays loaded (see `Settings::idle`).
class QtHttp final : public Http {
  public:
    struct Settings {
        double longestSilence = 60;    ///< of a download, in seconds
        double longestDownload = 1800; ///< seconds
        long long largestDownload = kLargestDownload;
        std::optional<QSslConfiguration> tls =
            std::nullopt;                ///< instead of the system's authorities
        std::function<void()> idle = {}; ///< on a turn after the last of the requests under way
    };

    QtHttp();
    explicit QtHttp(Settings settings);
    /// Gives up what is under way; none of it answers any more.
    ~QtHttp() override;

    void get(const std::string& url, double timeout,
             std::function<void(std::optional<HttpResponse>)> done) override;
    /// The file is the user's alone.
    void download(const std::string& url, const std::string& folder,
                  std::function<void(std::optional<HttpDownload>)> done) override;

  private:
    void start(const std::string& url, const Fetch::Limits& limits, Fetch::Keep keep,
               Fetch::Done done);
    void remove(const Fetch* fetch);

    const Settings settings_;
    std::unique_ptr<QNetworkAccessManager> manager_; ///< outlives the requests
    std::vector<std::unique_ptr<Fetch>> fetches_;
    QObject turn_; ///< lives in the thread of the callbacks
};

} // namespace korvel::platform
