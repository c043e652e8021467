#pragma once

#include "platform/defaults.h"

namespace korvel::platform {

/// The standard user defaults of the system, in the domain of the program's bundle identifier. The
/// system writes them to the disk, some time after they are set.
class MacosUserDefaults final : public UserDefaults {
  public:
    std::int64_t integer(const std::string& key) override;
    double real(const std::string& key) override;
    bool boolean(const std::string& key) override;
    std::string string(const std::string& key) override;
    bool has(const std::string& key) override;

    void set(const std::string& key, std::int64_t value) override;
    void set(const std::string& key, double value) override;
    void set(const std::string& key, bool value) override;
    void set(const std::string& key, const std::string& value) override;
    void remove(const std::string& key) override;

    /// Returns when the system has all that was set. It is sent there in the background, and what
    /// has not arrived when the process ends is lost.
    void flush();
};

} // namespace korvel::platform
