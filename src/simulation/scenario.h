#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/defaults.h"
#include "platform/simulated/http.h"
#include "platform/simulated/machine.h"
#include "platform/simulated/processes.h"
#include "simulation/scenario_fault.h"

/// What korvel-sim and korvel-demo run, described in docs/simulation.md.
namespace korvel::simulation {

class ScriptedProgram;

/// The parts of a simulated set that a scenario's machine keys describe.
struct MachineState {
    platform::SimulatedReadings& readings;
    platform::SimulatedProcesses& processes;
    platform::Fallible<std::string>& agents; ///< the text of the service listing
};

/// Puts a scenario's readings into a machine. What they do not name stays as it is.
using MachineChange = std::function<void(MachineState& machine)>;

/// What the reclaim script in the home directory does.
struct ReclaimScript {
    std::optional<std::string> preview; ///< what it prints; none: there is no script
    std::uint64_t frees = 0;            ///< bytes, when it is told to clear
    double seconds = 0;                 ///< how long it takes either way
};

/// What a download and the installation of what came meet.
struct ScriptedArchive {
    bool reachable = true;
    int status = 200;
    std::string bytes; ///< the archive's
    int unpackStatus = 0;
    std::vector<std::string> entries{"Korvel.app"}; ///< in the order of the listing
    std::optional<std::string> team = "7QX4D1K9WB"; ///< none: it is not signed
    bool strict = true;
    /// What is wrong with the move of the running bundle, and with that of the new one.
    std::array<std::optional<std::string>, 2> moves;
    bool rollback = true; ///< whether the running bundle can be moved back
};

/// The bundle that the program runs from.
struct ScriptedBundle {
    std::optional<std::string> version = "1.0.0"; ///< none: Info.plist does not say
    std::optional<std::string> build = "100";
    std::string path = "/Applications/Korvel.app";
    bool writable = true;             ///< its parent
    bool managed = false;             ///< by a package manager
    std::optional<std::string> notes; ///< that were built in
};

/// What the feed answers; none: it cannot be reached.
using ScriptedFeed = std::optional<platform::SimulatedHttp::Answer>;

/// Something that happens to the program.
struct ScenarioEvent {
    double at = 0; ///< seconds after launch
    std::function<void(ScriptedProgram& program)> act;
};

struct Scenario {
    static constexpr double kUntil = 10; ///< seconds; in virtual time, when `until` says nothing

    double start = platform::kSimulatedStart; ///< wall clock at launch
    std::optional<double> until;              ///< seconds after launch
    std::map<std::string, std::string> home;  ///< texts of the files in the home directory, by name
    std::map<std::string, platform::SimulatedDefaults::Value> defaults; ///< at launch
    MachineChange machine;                     ///< the readings at launch; may be empty
    std::optional<double> visibleHeight = 900; ///< of the main screen; none: there is no screen
    ScriptedBundle bundle;
    ScriptedFeed feed;
    std::vector<ScenarioEvent> events; ///< in the order in which they happen
};

/// Reads a scenario from its JSON text. An error is the first thing that is wrong with it, so that
/// a scenario either runs as a whole or not at all.
Result<Scenario, ScenarioFault> readScenario(std::string_view json);

} // namespace korvel::simulation
