#pragma once

#include <vector>

#include "swarm/coverage.h"
#include "swarm/event.h"
#include "swarm/ledger.h"

namespace korvel::swarm {

/// What a world came to.
struct Played {
    double ran = 0;    ///< seconds for which the program ran
    double passed = 0; ///< seconds that passed in it, with those asleep and between two launches
    std::uint64_t turns = 0;
    std::uint64_t launches = 0;
};

/// Plays a world from its first launch to its end. Throws `Broken` at the first rule that does not
/// hold. May be called on any part of a world's list.
Played play(const std::vector<Event>& events, Coverage& coverage);

} // namespace korvel::swarm
