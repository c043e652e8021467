#include <cmath>
#include <string>

#include "fuzz/fuzz.h"
#include "simulation/command_line.h"
#include "simulation/scenario.h"

namespace {

using korvel::simulation::Scenario;
using korvel::simulation::ScenarioFault;
using Reading = korvel::Result<Scenario, ScenarioFault>;

/// The text with one more member at the front of its object.
std::string withMember(std::string_view text, const std::string& member) {
    const std::size_t brace = text.find('{');
    const std::string_view rest = text.substr(brace + 1);
    const std::size_t next = rest.find_first_not_of(" \t\r\n");
    const bool isEmpty = next != std::string_view::npos && rest[next] == '}';
    return std::string(text.substr(0, brace + 1)) + member + (isEmpty ? "" : ",") +
           std::string(rest);
}

void requireSound(const Scenario& scenario) {
    require(!scenario.until || *scenario.until >= 0, "an end after the launch");
    double last = 0;
    for (const auto& event : scenario.events) {
        require(event.at >= last, "events are in their order");
        require(bool(event.act), "every event does something");
        last = event.at;
    }
    require(!scenario.feed || scenario.feed->delay >= 0, "no answer before the question");
    if (scenario.machine) {
        // Each part was checked, so a change of a machine cannot fail, nor when it is made again.
        korvel::platform::SimulatedReadings readings;
        korvel::platform::SimulatedProcesses processes;
        korvel::platform::Fallible<std::string> agents;
        korvel::simulation::MachineState machine{readings, processes, agents};
        scenario.machine(machine);
        scenario.machine(machine);
        require(readings.processorCount.value >= 1, "a machine has a processor");
    }
}

void requireStrict(std::string_view text) {
    using korvel::simulation::readScenario;
    require(bool(readScenario(std::string(text) + " \r\n\t")), "white space may follow");
    for (const char* behind : {"{", "0", ",", "]"}) {
        const Reading longer = readScenario(std::string(text) + behind);
        require(!longer && longer.error().code == ScenarioFault::notJson,
                "nothing else may follow");
    }
    const Reading unknown = readScenario(withMember(text, "\"no such key\":0"));
    require(!unknown && unknown.error().code == ScenarioFault::unknownKey &&
                unknown.error().subject == "no such key",
            "every key is known");
    const Reading twice = readScenario(withMember(text, R"("start":0,"start":0)"));
    require(!twice && twice.error().code == ScenarioFault::givenTwice &&
                twice.error().subject == "start",
            "every key stands once");
}

} // namespace

// Any text is a scenario that can be run as a whole, or refused for one thing that is told.
void fuzz(std::string_view bytes) {
    const Reading reading = korvel::simulation::readScenario(bytes);
    if (reading) {
        requireSound(*reading);
        requireStrict(bytes);
        return;
    }
    const auto& error = reading.error();
    require(error.code != ScenarioFault::unreadable, "a text is no file");
    require(error.code != ScenarioFault::notJson ||
                (error.subject.empty() && !error.detail.empty()),
            "what is no JSON is so as a whole");
    const std::string complaint = korvel::simulation::complaintOf(error);
    require(!complaint.empty() && complaint.find('\n') == std::string::npos, "told in one line");
}
