#include "simulation/scenario.h"

#include "base/utf8.h"
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

void readBundle(const JsonValue& value, Reader& reader) {
    static constexpr Key<ScriptedBundle> kKeys[] = {
        {"version", readField<&ScriptedBundle::version>},
        {"build", readField<&ScriptedBundle::build>},
        {"path", readField<&ScriptedBundle::path>},
        {"writable", readField<&ScriptedBundle::writable>},
        {"managed", readField<&ScriptedBundle::managed>},
        {"notes", readField<&ScriptedBundle::notes>},
    };
    readMembers(value, kKeys, reader.scenario.bundle);
}

constexpr Key<Reader> kScenarioKeys[] = {
    {"start", [](const JsonValue& value, Reader& r) { r.scenario.start = value.number(); }},
    {"until", [](const JsonValue& value, Reader& r) { r.scenario.until = readSeconds(value); }},
    {"home", readHome},
    {"defaults", readDefaultsAtLaunch},
    {"bundle", readBundle},
    {"machine", [](const JsonValue& value,
                   Reader& r) { r.scenario.machine = readMachine(value, r.document); }},
    {"screen", readScreen},
    {"feed", [](const JsonValue& value, Reader& r) { r.scenario.feed = readFeed(value); }},
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
    value.fail(ScenarioFault::notASetting);
}

double readSeconds(const JsonValue& value) {
    const double seconds = value.number();
    if (seconds < 0) {
        value.fail(ScenarioFault::negative);
    }
    return seconds;
}

ScriptedFeed readFeed(const JsonValue& object) {
    struct Feed {
        platform::SimulatedHttp::Answer answer;
        bool error = false;
    };
    static constexpr Key<Feed> kKeys[] = {
        {"status", [](const JsonValue& value, Feed& feed) { read(value, feed.answer.status); }},
        {"body", [](const JsonValue& value, Feed& feed) { feed.answer.body = value.text(); }},
        {"delay",
         [](const JsonValue& value, Feed& feed) { feed.answer.delay = readSeconds(value); }},
        {"error", readField<&Feed::error>},
    };
    Feed feed;
    readMembers(object, kKeys, feed);
    return feed.error ? std::nullopt : ScriptedFeed(feed.answer);
}

Result<Scenario, ScenarioFault> readScenario(std::string_view json) {
    Reader reader{std::make_shared<simdjson::dom::parser>(), {}};
    simdjson::dom::element root;
    if (json.starts_with(kByteOrderMark)) {
        return Error{ScenarioFault::notJson, "", "a byte-order mark is no JSON"};
    }
    // The copy is padded as the parser wants it.
    const auto error = reader.document->parse(simdjson::padded_string(json)).get(root);
    if (error != simdjson::SUCCESS) {
        return Error{ScenarioFault::notJson, "", simdjson::error_message(error)};
    }
    try {
        readMembers(JsonValue(root), kScenarioKeys, reader);
    } catch (const Error<ScenarioFault>& wrong) {
        return wrong;
    }
    return std::move(reader.scenario);
}

} // namespace korvel::simulation
