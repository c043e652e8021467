#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <simdjson.h>

#include "simulation/scenario_fault.h"

/// Typed reading of a JSON document that a person wrote, in which every key is known. What is wrong
/// is thrown, as an Error<ScenarioFault>: a scenario is read value by value in a hundred places,
/// none of which has anything else to do about it. `readScenario` catches it.
namespace korvel::simulation {

/// One value of the document and where it stands. It refers to the document and to the value that
/// holds it; both outlive it.
class JsonValue {
  public:
    explicit JsonValue(simdjson::dom::element root) : element_(root) {}

    bool isNull() const { return element_.is_null(); }

    /// The value as that type. Each throws when it is of another type.
    double number() const;
    bool flag() const;
    std::string text() const;
    /// A whole number within the bounds; 5.0 is one too.
    std::int64_t wholeNumber(std::int64_t lowest, std::int64_t highest) const;
    std::uint64_t count() const; ///< a whole number from 0 to 2^64 - 1

    /// Calls `visit(key, value)` for each member in the order of the text. Throws when this is no
    /// object, or when a key is given twice.
    template <typename Visit>
    void forEachMember(Visit visit) const {
        std::set<std::string_view> seen;
        for (const auto& [key, element] : object()) {
            const JsonValue value(element, *this, key);
            if (!seen.insert(key).second) {
                value.fail(ScenarioFault::givenTwice);
            }
            visit(key, value);
        }
    }

    /// Calls `visit(value)` for each element. Throws when this is no array.
    template <typename Visit>
    void forEachElement(Visit visit) const {
        std::size_t index = 0;
        for (const simdjson::dom::element element : array()) {
            visit(JsonValue(element, *this, index++));
        }
    }

    /// How many elements it has; throws when it is no array.
    std::size_t size() const { return array().size(); }

    /// Whether it has a member of that name; throws when it is no object.
    bool has(std::string_view key) const;

    /// The member of that name; throws when there is none.
    JsonValue member(std::string_view key) const;

    simdjson::dom::element element() const { return element_; }

    /// Throws the error that this is wrong with the value.
    [[noreturn]] void fail(ScenarioFault fault, std::string detail = {}) const;

  private:
    JsonValue(simdjson::dom::element element, const JsonValue& parent, std::string_view key)
        : element_(element), parent_(&parent), key_(key) {}
    JsonValue(simdjson::dom::element element, const JsonValue& parent, std::size_t index)
        : element_(element), parent_(&parent), index_(index) {}

    simdjson::dom::object object() const;
    simdjson::dom::array array() const;
    std::string path() const; ///< such as machine.vm.free_count or events[2].at

    simdjson::dom::element element_;
    const JsonValue* parent_ = nullptr;
    std::string_view key_; ///< in an object
    std::size_t index_ = 0;
};

/// Reads a value into a place of that type.
inline void read(const JsonValue& value, double& into) {
    into = value.number();
}
inline void read(const JsonValue& value, bool& into) {
    into = value.flag();
}
inline void read(const JsonValue& value, std::string& into) {
    into = value.text();
}
inline void read(const JsonValue& value, std::uint64_t& into) {
    into = value.count();
}
template <std::integral Integer>
void read(const JsonValue& value, Integer& into) {
    using Limits = std::numeric_limits<Integer>;
    into = static_cast<Integer>(value.wholeNumber(Limits::min(), Limits::max()));
}
/// A text, or null for none.
inline void read(const JsonValue& value, std::optional<std::string>& into) {
    into.reset();
    if (!value.isNull()) {
        into = value.text();
    }
}
template <typename T, std::size_t Count>
void read(const JsonValue& value, std::array<T, Count>& into) {
    if (value.size() != Count) {
        value.fail(ScenarioFault::otherLength, std::to_string(Count));
    }
    std::size_t index = 0;
    value.forEachElement([&](const JsonValue& element) { read(element, into[index++]); });
}

/// One key that an object may have, and what reads its value.
template <typename Target>
struct Key {
    std::string_view name;
    void (*read)(const JsonValue& value, Target& target);
};

/// The `Key::read` of a plain field.
template <auto Field, typename Target>
void readField(const JsonValue& value, Target& target) {
    read(value, target.*Field);
}

/// Reads an object member by member, each as its key says; what is not given stays as it is. Throws
/// at a key that is not listed.
template <typename Target, std::size_t Count>
void readMembers(const JsonValue& object, const Key<Target> (&keys)[Count], Target& target) {
    object.forEachMember([&](std::string_view name, const JsonValue& value) {
        for (const Key<Target>& key : keys) {
            if (key.name == name) {
                key.read(value, target);
                return;
            }
        }
        value.fail(ScenarioFault::unknownKey);
    });
}

} // namespace korvel::simulation
