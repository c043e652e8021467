#pragma once

#include <string_view>

#include "simulation/scenario.h"

/// What the programs that run scenarios do alike on the command line.
namespace korvel::simulation {

/// Reads the scenario in a file. Throws a ScenarioError that names the file when it cannot be read
/// or is wrong.
Scenario loadScenario(const char* path);

/// Says on standard error what is wrong, in one line that begins with the program's name. Returns
/// the exit status for wrong usage.
int complain(std::string_view program, std::string_view text);

/// The same for arguments that are none of the program's.
int showUsage(std::string_view usage);

} // namespace korvel::simulation
