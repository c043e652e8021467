#pragma once

#include <functional>
#include <optional>
#include <string>

namespace korvel::platform {

struct HttpResponse {
    int status = 0;
    std::string body;
};

struct HttpDownload {
    int status = 0;
    std::string path; ///< a file with the body
};

/// Fetches over HTTPS. Redirects are followed from https to https only, and the final response is
/// the one that is told. Each call answers once, on the main thread and on a later turn; nothing
/// blocks. No answer (nullopt): there was no whole HTTP response, whatever the reason.
class Http {
  public:
    virtual ~Http() = default;

    /// The body of a small document, never out of a cache. No answer after `timeout` seconds, or
    /// when the body is longer than kLargestBody.
    virtual void get(const std::string& url, double timeout,
                     std::function<void(std::optional<HttpResponse>)> done) = 0;

    /// The body as a file in the folder, or in one of the system's for temporary files where that
    /// is not there. What is not moved away within `done` is removed after it. No answer when
    /// nothing comes for a minute, or when the body is longer than kLargestDownload.
    virtual void download(const std::string& url, const std::string& folder,
                          std::function<void(std::optional<HttpDownload>)> done) = 0;

    static constexpr long long kLargestBody = 1LL << 20;     ///< bytes
    static constexpr long long kLargestDownload = 1LL << 26; ///< bytes
};

} // namespace korvel::platform
