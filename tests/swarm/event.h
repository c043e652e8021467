#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::swarm {

class Life;

using Arguments = std::array<double, 4>;

/// An argument that is a whole number.
template <typename Integer>
Integer as(double number) {
    return static_cast<Integer>(number);
}

/// Something that happens to the program or around it. A world is a list of these and nothing
/// else, so that a part of the list is a world too.
struct Event {
    double at = 0; ///< seconds for which the program has run since the first launch
    std::size_t kind = 0;
    Arguments n{};
};

/// What may happen.
struct EventKind {
    std::string_view name;
    std::size_t arguments;
    void (*act)(Life& life, const Arguments& n);
    /// The members of an event of a korvel-sim scenario that does the same; null: there is none.
    std::string (*scenario)(const Arguments& n);
};

/// Every kind, in a fixed order.
const std::vector<EventKind>& eventKinds();

/// The number of the kind of that name. Ends the program when there is none.
std::size_t kindOf(std::string_view name);

/// "AT KIND NUMBER...", as a replay reads it.
std::string text(const Event& event);
/// None: it is no event.
std::optional<Event> readEvent(const std::string& line);

/// The world of a seed, in time order; the last event is "end". The same seed always gives the
/// same list.
std::vector<Event> makeWorld(std::uint64_t seed);

} // namespace korvel::swarm
