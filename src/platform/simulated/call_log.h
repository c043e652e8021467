#pragma once

#include <string>
#include <utility>
#include <vector>

namespace korvel::platform {

/// What simulated services were asked, in order, one entry a call ("cpuTicks", "after 1"). Several
/// services may write into one log; a service that was given none writes nowhere.
using CallLog = std::vector<std::string>;

/// A simulated service that keeps a log. The log outlives the calls.
class Logging {
  public:
    CallLog* log = nullptr;

  protected:
    void note(std::string call) const {
        if (log != nullptr) {
            log->push_back(std::move(call));
        }
    }
};

} // namespace korvel::platform
