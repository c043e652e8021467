#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace korvel::swarm {

/// How often each thing happened.
class Coverage {
  public:
    void add(std::string_view what, std::uint64_t times = 1) {
        const auto found = counts_.find(what);
        if (found == counts_.end()) {
            counts_.emplace(what, times);
        } else {
            found->second += times;
        }
    }

    const std::map<std::string, std::uint64_t, std::less<>>& counts() const { return counts_; }

  private:
    std::map<std::string, std::uint64_t, std::less<>> counts_;
};

} // namespace korvel::swarm
