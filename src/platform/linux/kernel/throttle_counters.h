#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/throttle_rule.h"

namespace korvel::platform {

/// How long processors were throttled for heat: thermal_throttle of /sys/devices/system/cpu, of
/// each package, or of each core where packages are not counted. Only Intel's processors have it.
class ThrottleCounters {
  public:
    /// `root` ends in a slash.
    ThrottleCounters(FileCalls& calls, const std::string& root);

    /// Looks for packages that came or went; to be called once a minute.
    void find();

    /// Of the most throttled, as `ThrottleRule` has it; none where no counter can be read.
    std::optional<int> state(ThrottleRule::Moment now);

  private:
    struct Counter {
        KeptFile total;
        ThrottleRule rule;
    };

    std::string readOf(const std::string& processor, const char* file);

    FileCalls& calls_;
    std::string path_;
    KeptDirectory directory_;
    std::map<std::string, Counter> counters_; ///< by one processor of each package or core
    bool tells_ = false;                      ///< whether a processor ever had a counter
    std::string buffer_;
};

} // namespace korvel::platform
