#include "swarm/player.h"

#include <string>

#include "swarm/life.h"
#include "swarm/texts.h"

namespace korvel::swarm {

Played play(const std::vector<Event>& events, Coverage& coverage) {
    Surroundings around;
    around.script = {scriptTexts()[0].prints, 0, 0};
    Played played;
    std::size_t next = 0;
    do {
        if (around.forgetsSettings) {
            around.defaults.clear();
            around.forgetsSettings = false;
        }
        simulation::Scenario scenario;
        scenario.start = around.wall;
        scenario.defaults = around.defaults;
        scenario.bundle.build = std::to_string(around.build);
        scenario.bundle.version = versionOf(around.build);
        Life life(scenario, around, coverage);
        next += life.run(events.data() + next, events.size() - next, played.ran);
        played.ran += life.ran();
        played.turns += life.ledger().turns;
        ++played.launches;
    } while (next < events.size());
    played.passed = around.wall - platform::kSimulatedStart;
    return played;
}

} // namespace korvel::swarm
