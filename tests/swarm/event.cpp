#include "swarm/event.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include <fmt/format.h>

#include "swarm/event_tables.h"

namespace korvel::swarm {

const std::vector<EventKind>& eventKinds() {
    static const std::vector<EventKind> kinds = [] {
        std::vector<EventKind> all = machineKinds();
        const std::vector<EventKind> others = otherKinds();
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }();
    return kinds;
}

std::size_t kindOf(std::string_view name) {
    const std::vector<EventKind>& kinds = eventKinds();
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (kinds[i].name == name) {
            return i;
        }
    }
    fmt::print(stderr, "there is no kind of event {}\n", name);
    std::exit(2);
}

std::string text(const Event& event) {
    const EventKind& kind = eventKinds()[event.kind];
    std::string line = fmt::format("{} {}", event.at, kind.name);
    for (std::size_t i = 0; i < kind.arguments; ++i) {
        line += fmt::format(" {}", event.n[i]);
    }
    return line;
}

std::optional<Event> readEvent(const std::string& line) {
    std::istringstream words(line);
    Event event;
    std::string name;
    if (!(words >> event.at >> name)) {
        return std::nullopt;
    }
    event.kind = kindOf(name);
    for (std::size_t i = 0; i < eventKinds()[event.kind].arguments; ++i) {
        if (!(words >> event.n[i])) {
            return std::nullopt;
        }
    }
    return event;
}

} // namespace korvel::swarm
