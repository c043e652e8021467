#include <fmt/format.h>

#include "simulation/scenario_parts.h"
#include "simulation/scripted_program.h"

namespace korvel::simulation {

namespace {

constexpr std::string_view kNotYet = "is not supported yet";

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

/// What a "do" may name. Without a reader: known, and not supported yet.
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
    {"previewReclaim", nullptr},
    {"runReclaim", nullptr},
    {"dismissPreview", nullptr},
    {"enableAwake", nullptr},
    {"disableAwake", nullptr},
    {"checkForUpdates", nullptr},
    {"installPending", nullptr},
    {"relaunch", nullptr},
    {"dismissWhatsNew", nullptr},
};

/// The action that the event's "do" names; none when it has no "do".
const Action* actionOf(const JsonValue& event) {
    if (!event.has("do")) {
        return nullptr;
    }
    const JsonValue value = event.member("do");
    const std::string name = value.text();
    for (const Action& action : kActions) {
        if (action.name != name) {
            continue;
        }
        if (action.read == nullptr) {
            value.fail(kNotYet, name);
        }
        return &action;
    }
    value.fail("is no known action", name);
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

/// The key that says what an event is. Without a reader: known, and not supported yet.
struct Form {
    std::string_view key;
    Act (*read)(const JsonValue& event, const Document& document);
};

constexpr Form kForms[] = {
    {"set", readSet},    {"do", readAction}, {"feed", nullptr},        {"archive", nullptr},
    {"script", nullptr}, {"power", nullptr}, {"setDefaults", nullptr},
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
            if (form.read == nullptr) {
                member.fail(kNotYet);
            }
            if (event.act) {
                member.fail("is a second form of one event");
            }
            event.act = form.read(value, document);
            return;
        }
        if (action == nullptr || key != action->parameter) {
            member.failAsUnknownKey();
        }
    });
    value.member("at");
    if (!event.act) {
        value.fail("does nothing: it has neither \"set\" nor \"do\"");
    }
    return event;
}

} // namespace

std::vector<ScenarioEvent> readEvents(const JsonValue& array, const Document& document) {
    std::vector<ScenarioEvent> events;
    array.forEachElement([&](const JsonValue& element) {
        events.push_back(readEvent(element, document));
        if (events.size() > 1 && events.back().at < events[events.size() - 2].at) {
            element.member("at").fail("is earlier than the event before it");
        }
    });
    return events;
}

} // namespace korvel::simulation
