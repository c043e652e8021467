#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>

#include "platform/defaults.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// Settings that live in memory.
class SimulatedDefaults final : public UserDefaults, public Logging {
  public:
    using Value = std::variant<std::int64_t, double, bool, std::string>;

    std::map<std::string, Value> values;
    /// Called when a stored value changed in value or type, or (null) was removed; may be empty.
    std::function<void(const std::string& key, const Value* value)> onChange;

    std::int64_t integer(const std::string& key) override;
    double real(const std::string& key) override;
    bool boolean(const std::string& key) override;
    std::string string(const std::string& key) override;
    bool has(const std::string& key) override { return values.count(key) != 0; }

    void set(const std::string& key, std::int64_t value) override { store(key, value); }
    void set(const std::string& key, double value) override { store(key, value); }
    void set(const std::string& key, bool value) override { store(key, value); }
    void set(const std::string& key, const std::string& value) override { store(key, value); }
    void remove(const std::string& key) override;

  private:
    void store(const std::string& key, Value value);
};

} // namespace korvel::platform
