#pragma once

#include "platform/simulated/power.h"

namespace korvel::kit {

/// The power assertions of the program.
platform::SimulatedPower& power();

} // namespace korvel::kit
