#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace korvel {

/// Builds one compact JSON text, value by value. Numbers stand in their shortest round-trip form
/// (5, not 5.0), a non-finite one as null; strings are taken as UTF-8 and ill-formed bytes
/// replaced.
class JsonWriter {
  public:
    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);

    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(double number);
    JsonWriter& value(bool flag);
    JsonWriter& value(std::nullptr_t);
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool>) JsonWriter& value(Integer number) {
        if constexpr (std::unsigned_integral<Integer>) {
            return natural(number);
        } else {
            return integer(number);
        }
    }

    /// One member of an object.
    template <typename Value>
    JsonWriter& member(std::string_view name, const Value& memberValue) {
        return key(name).value(memberValue);
    }

    const std::string& text() const { return text_; }

  private:
    JsonWriter& integer(std::int64_t number);
    JsonWriter& natural(std::uint64_t number);
    void separate();
    void escape(char c);

    std::string text_;
    bool first_ = true;
};

} // namespace korvel
