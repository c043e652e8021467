#pragma once

#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace korvel::platform {

/// What simulated services were asked, in order, one entry a call ("cpuTicks", "after 1"). Several
/// services may write into one log; a service that was given none writes nowhere.
using CallLog = std::vector<std::string>;

/// A simulated service that keeps a log. The log outlives the calls.
class Logging {
  public:
    CallLog* log = nullptr;

  protected:
    /// One entry of these parts, texts and whole or other numbers; composed only where it is kept.
    template <typename... Parts>
    void note(const Parts&... parts) const {
        if (log != nullptr) {
            std::string call;
            (append(call, parts), ...);
            log->push_back(std::move(call));
        }
    }

  private:
    static void append(std::string& call, std::string_view text) { call += text; }
    template <typename Number>
    requires(std::is_arithmetic_v<Number>) static void append(std::string& call, Number number) {
        fmt::format_to(std::back_inserter(call), "{}", number);
    }
};

} // namespace korvel::platform
