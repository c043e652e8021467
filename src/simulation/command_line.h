#pragma once

#include <string>
#include <string_view>

#include "simulation/scenario.h"

/// What the programs that run scenarios share on the command line.
namespace korvel::simulation {

/// Reads the scenario in a file.
Result<Scenario, ScenarioFault> loadScenario(const std::string& path);

/// What is wrong with a scenario, as one line without its end.
std::string complaintOf(const Error<ScenarioFault>& error);

/// Says on standard error what is wrong, in one line that begins with the program's name. Returns
/// the exit status for wrong usage.
int complain(std::string_view program, std::string_view text);

/// The same for the scenario in that file.
int complain(std::string_view program, std::string_view path, const Error<ScenarioFault>& error);

} // namespace korvel::simulation
