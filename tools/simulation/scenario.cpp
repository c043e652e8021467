#include "simulation/scenario.h"

#include <fmt/format.h>

#include "simulation/scenario_parts.h"

namespace korvel::simulation {

namespace {

/// What the keys below are read into.
struct Reader {
    Document document;
    Scenario scenario;
};

void readHome(const JsonValue& value, Reader& reader) {
    value.forEachMember([&](std::string_view name, const JsonValue& text) {
        reader.scenario.home[std::string(name)] = text.text();
    });
}

void readDefaultsAtLaunch(const JsonValue& value, Reader& reader) {
    value.forEachMember([&](std::string_view key, const JsonValue& stored) {
        reader.scenario.defaults[std::string(key)] = readStored(stored);
    });
}

void readScreen(const JsonValue& value, Reader& reader) {
    static constexpr Key<Reader> kKeys[] = {
        {"visibleHeight",
         [](const JsonValue& height, Reader& r) { r.scenario.visibleHeight = height.number(); }},
    };
    if (value.isNull()) {
        reader.scenario.visibleHeight.reset();
    } else {
        readMembers(value, kKeys, reader);
    }
}

// What the keys below describe is not simulated yet: they are checked, and nothing asks for them.

void checkBundle(const JsonValue& value, Reader& reader) {
    static constexpr Key<Reader> kKeys[] = {
        {"version", checkType<std::string>},
        {"build", checkType<std::string>},
        {"path", checkType<std::string>},
        {"writable", checkType<bool>},
    };
    readMembers(value, kKeys, reader);
}

void checkFeed(const JsonValue& value, Reader& reader) {
    static constexpr Key<Reader> kKeys[] = {
        {"status", checkType<int>},
        {"body", checkType<std::string>},
        {"delay", [](const JsonValue& delay, Reader&) { readSeconds(delay); }},
        {"error", checkType<bool>},
    };
    readMembers(value, kKeys, reader);
}

constexpr Key<Reader> kKeys[] = {
    {"start", [](const JsonValue& value, Reader& r) { r.scenario.start = value.number(); }},
    {"until", [](const JsonValue& value, Reader& r) { r.scenario.until = readSeconds(value); }},
    {"home", readHome},
    {"defaults", readDefaultsAtLaunch},
    {"bundle", checkBundle},
    {"machine", [](const JsonValue& value,
                   Reader& r) { r.scenario.machine = readMachine(value, r.document); }},
    {"screen", readScreen},
    {"feed", checkFeed},
    {"events",
     [](const JsonValue& value, Reader& r) { r.scenario.events = readEvents(value, r.document); }},
};

} // namespace

platform::SimulatedDefaults::Value readStored(const JsonValue& value) {
    const simdjson::dom::element element = value.element();
    if (element.is_bool()) {
        return element.get_bool().value();
    }
    if (element.is_int64()) {
        return element.get_int64().value();
    }
    if (element.is_number()) {
        return value.number();
    }
    if (element.is_string()) {
        return value.text();
    }
    value.fail("must be a number, a string, true or false");
}

double readSeconds(const JsonValue& value) {
    const double seconds = value.number();
    if (seconds < 0) {
        value.fail("must not be negative");
    }
    return seconds;
}

Scenario readScenario(std::string_view json) {
    Reader reader{std::make_shared<simdjson::dom::parser>(), {}};
    simdjson::dom::element root;
    // The copy is padded as the parser wants it.
    const auto error = reader.document->parse(simdjson::padded_string(json)).get(root);
    if (error != simdjson::SUCCESS) {
        throw ScenarioError(fmt::format("no valid JSON: {}", simdjson::error_message(error)));
    }
    readMembers(JsonValue(root), kKeys, reader);
    return std::move(reader.scenario);
}

} // namespace korvel::simulation
