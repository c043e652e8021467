#pragma once

#include <vector>

#include "swarm/event.h"

namespace korvel::swarm {

/// The kinds of events of the machine and its tools, and those of users and of what else a program
/// meets.
std::vector<EventKind> machineKinds();
std::vector<EventKind> otherKinds();

} // namespace korvel::swarm
