#pragma once

#include <cstdint>
#include <string>

namespace korvel::platform {

/// The user's persistent settings: a value of one of four types under a key. Used on the main
/// thread only. Reading a key that is absent, or holds what cannot be read as the asked type, gives
/// 0, false or "".
class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// A double is truncated, a bool is 0 or 1, a decimal text is read.
    virtual std::int64_t integer(const std::string& key) = 0;
    virtual double real(const std::string& key) = 0;
    /// A number is true unless it is 0.
    virtual bool boolean(const std::string& key) = 0;
    virtual std::string string(const std::string& key) = 0;
    virtual bool has(const std::string& key) = 0;

    /// Stores a value with its type; a failure to write it out is silent. What would make the
    /// settings larger than they may be is not stored, and what was there before stays.
    virtual void set(const std::string& key, std::int64_t value) = 0;
    virtual void set(const std::string& key, double value) = 0;
    virtual void set(const std::string& key, bool value) = 0;
    virtual void set(const std::string& key, const std::string& value) = 0;
    virtual void remove(const std::string& key) = 0;
};

} // namespace korvel::platform
