#include "platform/simulated/defaults.h"

#include <cmath>
#include <type_traits>
#include <utility>

#include "base/whole_number.h"

namespace korvel::platform {

namespace {

/// A whole number that a text holds from its start to its end; 0 where it holds none.
double numberIn(const std::string& text) {
    return static_cast<double>(wholeNumber<std::int64_t>(text).value_or(0));
}

} // namespace

double SimulatedDefaults::real(const std::string& key) {
    const auto found = values.find(key);
    if (found == values.end()) {
        return 0;
    }
    return std::visit(
        [](const auto& value) -> double {
            using Held = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Held, std::string>) {
                return numberIn(value);
            } else {
                return static_cast<double>(value);
            }
        },
        found->second);
}

std::int64_t SimulatedDefaults::integer(const std::string& key) {
    const auto found = values.find(key);
    if (found == values.end()) {
        return 0;
    }
    if (const auto* whole = std::get_if<std::int64_t>(&found->second)) {
        return *whole;
    }
    const double number = real(key);
    return std::abs(number) < 0x1p63 ? static_cast<std::int64_t>(number) : 0;
}

bool SimulatedDefaults::boolean(const std::string& key) {
    return real(key) != 0;
}

std::string SimulatedDefaults::string(const std::string& key) {
    const auto found = values.find(key);
    const auto* text = found == values.end() ? nullptr : std::get_if<std::string>(&found->second);
    return text == nullptr ? std::string() : *text;
}

void SimulatedDefaults::store(const std::string& key, Value value) {
    const auto found = values.find(key);
    if (found != values.end() && found->second == value) {
        return;
    }
    Value& stored = values[key];
    stored = std::move(value);
    if (onChange) {
        onChange(key, &stored);
    }
}

void SimulatedDefaults::remove(const std::string& key) {
    if (values.erase(key) != 0 && onChange) {
        onChange(key, nullptr);
    }
}

} // namespace korvel::platform
