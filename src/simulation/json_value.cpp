#include "simulation/json_value.h"

#include <cmath>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace korvel::simulation {

namespace {

template <typename T>
std::optional<T> get(simdjson::dom::element element) {
    T value{};
    return element.get(value) == simdjson::SUCCESS ? std::optional(value) : std::nullopt;
}

} // namespace

double JsonValue::number() const {
    const std::optional<double> value = get<double>(element_);
    if (!value) {
        fail(ScenarioFault::notANumber);
    }
    return *value;
}

bool JsonValue::flag() const {
    const std::optional<bool> value = get<bool>(element_);
    if (!value) {
        fail(ScenarioFault::notAFlag);
    }
    return *value;
}

std::string JsonValue::text() const {
    const std::optional<std::string_view> value = get<std::string_view>(element_);
    if (!value) {
        fail(ScenarioFault::notAText);
    }
    return std::string(*value);
}

std::int64_t JsonValue::wholeNumber(std::int64_t lowest, std::int64_t highest) const {
    auto value = get<std::int64_t>(element_);
    if (!value) {
        const auto number = get<double>(element_);
        if (number && *number == std::trunc(*number) && *number >= -0x1p63 && *number < 0x1p63) {
            value = static_cast<std::int64_t>(*number);
        }
    }
    if (!value || *value < lowest || *value > highest) {
        fail(ScenarioFault::notAWholeNumber, fmt::format("{} to {}", lowest, highest));
    }
    return *value;
}

std::uint64_t JsonValue::count() const {
    auto value = get<std::uint64_t>(element_);
    if (!value) {
        const auto number = get<double>(element_);
        if (number && *number == std::trunc(*number) && *number >= 0 && *number < 0x1p64) {
            value = static_cast<std::uint64_t>(*number);
        }
    }
    if (!value) {
        fail(ScenarioFault::notAWholeNumber, "0 to 18446744073709551615");
    }
    return *value;
}

bool JsonValue::has(std::string_view key) const {
    return object().at_key(key).error() == simdjson::SUCCESS;
}

JsonValue JsonValue::member(std::string_view key) const {
    simdjson::dom::element found;
    if (object().at_key(key).get(found) != simdjson::SUCCESS) {
        JsonValue(element_, *this, key).fail(ScenarioFault::missing);
    }
    return {found, *this, key};
}

simdjson::dom::object JsonValue::object() const {
    const auto value = get<simdjson::dom::object>(element_);
    if (!value) {
        fail(ScenarioFault::notAnObject);
    }
    return *value;
}

simdjson::dom::array JsonValue::array() const {
    const auto value = get<simdjson::dom::array>(element_);
    if (!value) {
        fail(ScenarioFault::notAnArray);
    }
    return *value;
}

std::string JsonValue::path() const {
    if (parent_ == nullptr) {
        return {};
    }
    std::string path = parent_->path();
    if (parent_->element_.is_array()) {
        return fmt::format("{}[{}]", path, index_);
    }
    return path.empty() ? std::string(key_) : fmt::format("{}.{}", path, key_);
}

void JsonValue::fail(ScenarioFault fault, std::string detail) const {
    throw Error{fault, path(), std::move(detail)};
}

} // namespace korvel::simulation
