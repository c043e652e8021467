#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/http.h"
#include "platform/simulated/call_log.h"
#include "platform/simulated/files.h"

namespace korvel::platform {

class RunLoop;

/// A network with two documents: one that is got, and one that is downloaded.
class SimulatedHttp final : public Http, public Logging {
  public:
    struct Answer {
        int status = 200;
        std::string body;
        double delay = 0; ///< seconds until it is there
    };

    /// Both outlive it.
    SimulatedHttp(RunLoop& runLoop, SimulatedFiles& files) : runLoop_(runLoop), files_(files) {}

    std::optional<Answer> document; ///< none: unreachable
    std::optional<Answer> archive;  ///< none: unreachable

    /// What was asked for.
    std::vector<std::string> urls;

    void get(const std::string& url, double timeout,
             std::function<void(std::optional<HttpResponse>)> done) override;
    void download(const std::string& url, const std::string& folder,
                  std::function<void(std::optional<HttpDownload>)> done) override;

  private:
    void later(double delay, std::function<void()> work);

    RunLoop& runLoop_;
    SimulatedFiles& files_;
};

} // namespace korvel::platform
