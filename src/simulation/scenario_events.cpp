#include "simulation/scenario_parts.h"
#include "simulation/scripted_program.h"

namespace korvel::simulation {

namespace {

/// With so many minutes a double still holds whole seconds.
constexpr std::int64_t kMostMinutes = std::int64_t{1} << 46;
constexpr std::int64_t kLeastMinutes = -kMostMinutes;

using Act = std::function<void(ScriptedProgram&)>;

/// The reader of an action that takes nothing.
template <void (ScriptedProgram::*Method)()>
Act plain(const JsonValue& /*event*/) {
    return [](ScriptedProgram& program) { (program.*Method)(); };
}

Act readQuitProcess(const JsonValue& event) {
    std::int32_t pid = 0;
    read(event.member("pid"), pid);
    return [pid](ScriptedProgram& program) { program.quitProcess(pid); };
}

Act readEnableAwake(const JsonValue& event) {
    std::optional<std::int64_t> minutes;
    if (const JsonValue value = event.member("minutes"); !value.isNull()) {
        minutes = value.wholeNumber(kLeastMinutes, kMostMinutes);
    }
    return [minutes](ScriptedProgram& program) { program.enableAwake(minutes); };
}

/// What a "do" may name.
struct Action {
    std::string_view name;
    Act (*read)(const JsonValue& event);
    std::string_view parameter = {}; ///< the key that the event has besides; empty: none
};

constexpr Action kActions[] = {
    {"togglePopover", plain<&ScriptedProgram::togglePopover>},
    {"clickOutside", plain<&ScriptedProgram::clickOutside>},
    {"terminate", plain<&ScriptedProgram::terminate>},
    {"toggleBreakdown", plain<&ScriptedProgram::toggleBreakdown>},
    {"quitProcess", readQuitProcess, "pid"},
    {"findSwapHolders", plain<&ScriptedProgram::findSwapHolders>},
    {"describePopover", plain<&ScriptedProgram::describePopover>},
    {"previewReclaim", plain<&ScriptedProgram::previewReclaim>},
    {"runReclaim", plain<&ScriptedProgram::runReclaim>},
    {"dismissPreview", plain<&ScriptedProgram::dismissPreview>},
    {"enableAwake", readEnableAwake, "minutes"},
    {"disableAwake", plain<&ScriptedProgram::disableAwake>},
    {"checkForUpdates", plain<&ScriptedProgram::checkForUpdates>},
    {"installPending", plain<&ScriptedProgram::installPending>},
    {"relaunch", plain<&ScriptedProgram::relaunch>},
    {"dismissWhatsNew", plain<&ScriptedProgram::dismissWhatsNew>},
};

/// The action that the event's "do" names; none when it has no "do".
const Action* actionOf(const JsonValue& event) {
    if (!event.has("do")) {
        return nullptr;
    }
    const JsonValue value = event.member("do");
    const std::string name = value.text();
    for (const Action& action : kActions) {
        if (action.name == name) {
            return &action;
        }
    }
    value.fail(ScenarioFault::unknownAction, name);
}

Act readAction(const JsonValue& event, const Document& /*document*/) {
    return actionOf(event)->read(event);
}

Act readSet(const JsonValue& event, const Document& document) {
    const JsonValue value = event.member("set");
    return [change = readMachine(value, document)](ScriptedProgram& program) {
        MachineState machine = program.machine();
        change(machine);
    };
}

Act readScript(const JsonValue& event, const Document& /*document*/) {
    static constexpr Key<ReclaimScript> kKeys[] = {
        {"preview",
         [](const JsonValue& value, ReclaimScript& script) { script.preview = value.text(); }},
        {"frees", readField<&ReclaimScript::frees>},
        {"seconds", [](const JsonValue& value,
                       ReclaimScript& script) { script.seconds = readSeconds(value); }},
    };
    ReclaimScript script{"", 0, 0};
    if (const JsonValue value = event.member("script"); value.isNull()) {
        script.preview.reset();
    } else {
        readMembers(value, kKeys, script);
    }
    return [script](ScriptedProgram& program) { program.script() = script; };
}

Act readFeedEvent(const JsonValue& event, const Document& /*document*/) {
    return [feed = readFeed(event.member("feed"))](ScriptedProgram& program) {
        program.http().document = feed;
    };
}

Act readArchive(const JsonValue& event, const Document& /*document*/) {
    static constexpr Key<ScriptedArchive> kKeys[] = {
        {"error", [](const JsonValue& value,
                     ScriptedArchive& archive) { archive.reachable = !value.flag(); }},
        {"status", readField<&ScriptedArchive::status>},
        {"bytes", readField<&ScriptedArchive::bytes>},
        {"unpackStatus", readField<&ScriptedArchive::unpackStatus>},
        {"entries",
         [](const JsonValue& value, ScriptedArchive& archive) {
             archive.entries.clear();
             value.forEachElement(
                 [&](const JsonValue& entry) { archive.entries.push_back(entry.text()); });
         }},
        {"team", readField<&ScriptedArchive::team>},
        {"strict", readField<&ScriptedArchive::strict>},
        {"moves", readField<&ScriptedArchive::moves>},
        {"rollback", readField<&ScriptedArchive::rollback>},
    };
    ScriptedArchive archive;
    readMembers(event.member("archive"), kKeys, archive);
    return [archive](ScriptedProgram& program) { program.setArchive(archive); };
}

Act readPower(const JsonValue& event, const Document& /*document*/) {
    struct Grants {
        std::optional<bool> display;
        std::optional<bool> system;
    };
    static constexpr Key<Grants> kKeys[] = {
        {"display",
         [](const JsonValue& value, Grants& grants) { read(value, grants.display.emplace()); }},
        {"system",
         [](const JsonValue& value, Grants& grants) { read(value, grants.system.emplace()); }},
    };
    Grants grants;
    readMembers(event.member("power"), kKeys, grants);
    return [grants](ScriptedProgram& program) {
        platform::SimulatedPower& power = program.power();
        power.grantsDisplay = grants.display.value_or(power.grantsDisplay);
        power.grantsSystem = grants.system.value_or(power.grantsSystem);
    };
}

Act readSetDefaults(const JsonValue& event, const Document& /*document*/) {
    std::map<std::string, std::optional<platform::SimulatedDefaults::Value>> changes;
    event.member("setDefaults").forEachMember([&](std::string_view key, const JsonValue& value) {
        auto& change = changes[std::string(key)];
        if (!value.isNull()) {
            change = readStored(value);
        }
    });
    // As if changed by another program: nothing is announced.
    return [changes](ScriptedProgram& program) {
        for (const auto& [key, value] : changes) {
            if (value) {
                program.defaults().values[key] = *value;
            } else {
                program.defaults().values.erase(key);
            }
        }
    };
}

/// The key that says what an event is.
struct Form {
    std::string_view key;
    Act (*read)(const JsonValue& event, const Document& document);
};

constexpr Form kForms[] = {
    {"set", readSet},
    {"do", readAction},
    {"feed", readFeedEvent},
    {"archive", readArchive},
    {"script", readScript},
    {"power", readPower},
    {"setDefaults", readSetDefaults},
};

ScenarioEvent readEvent(const JsonValue& value, const Document& document) {
    ScenarioEvent event;
    const Action* action = actionOf(value);
    value.forEachMember([&](std::string_view key, const JsonValue& member) {
        if (key == "at") {
            event.at = readSeconds(member);
            return;
        }
        for (const Form& form : kForms) {
            if (form.key != key) {
                continue;
            }
            if (event.act) {
                member.fail(ScenarioFault::secondForm);
            }
            event.act = form.read(value, document);
            return;
        }
        if (action == nullptr || key != action->parameter) {
            member.fail(ScenarioFault::unknownKey);
        }
    });
    value.member("at");
    if (!event.act) {
        value.fail(ScenarioFault::withoutForm);
    }
    return event;
}

} // namespace

std::vector<ScenarioEvent> readEvents(const JsonValue& array, const Document& document) {
    std::vector<ScenarioEvent> events;
    array.forEachElement([&](const JsonValue& element) {
        events.push_back(readEvent(element, document));
        if (events.size() > 1 && events.back().at < events[events.size() - 2].at) {
            element.member("at").fail(ScenarioFault::beforeTheLast);
        }
    });
    return events;
}

} // namespace korvel::simulation
