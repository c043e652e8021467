#include <fmt/format.h>

#include "simulation/program.h"
#include "simulation/scenario_parts.h"

namespace korvel::simulation {

namespace {

constexpr std::string_view kNotYet = "is not supported yet";

/// What a "do" may name. Without an action: known, and not supported yet.
struct Action {
    std::string_view name;
    void (SimulatedProgram::*act)();
};

constexpr Action kActions[] = {
    {"togglePopover", &SimulatedProgram::togglePopover},
    {"clickOutside", &SimulatedProgram::clickOutside},
    {"terminate", &SimulatedProgram::terminate},
    {"toggleBreakdown", nullptr},
    {"quitProcess", nullptr},
    {"findSwapHolders", nullptr},
    {"previewReclaim", nullptr},
    {"runReclaim", nullptr},
    {"dismissPreview", nullptr},
    {"enableAwake", nullptr},
    {"disableAwake", nullptr},
    {"checkForUpdates", nullptr},
    {"installPending", nullptr},
    {"relaunch", nullptr},
    {"dismissWhatsNew", nullptr},
    {"describePopover", nullptr},
};

using Act = std::function<void(SimulatedProgram&)>;

Act readAction(const JsonValue& value, const Document& /*document*/) {
    const std::string name = value.text();
    for (const Action& action : kActions) {
        if (action.name != name) {
            continue;
        }
        if (action.act == nullptr) {
            value.fail(kNotYet, name);
        }
        return [act = action.act](SimulatedProgram& program) { (program.*act)(); };
    }
    value.fail("is no known action", name);
}

Act readSet(const JsonValue& value, const Document& document) {
    return [change = readMachine(value, document)](SimulatedProgram& program) {
        MachineState machine = program.machine();
        change(machine);
    };
}

/// The key that says what an event is. Without a reader: known, and not supported yet.
struct Form {
    std::string_view key;
    Act (*read)(const JsonValue& value, const Document& document);
};

constexpr Form kForms[] = {
    {"set", readSet},    {"do", readAction}, {"feed", nullptr},        {"archive", nullptr},
    {"script", nullptr}, {"power", nullptr}, {"setDefaults", nullptr},
};

ScenarioEvent readEvent(const JsonValue& value, const Document& document) {
    ScenarioEvent event;
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
            event.act = form.read(member, document);
            return;
        }
        // What an unsupported action takes is not the error to tell.
        if (value.has("do")) {
            readAction(value.member("do"), document);
        }
        member.failAsUnknownKey();
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
