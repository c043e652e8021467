// Plays the whole program in virtual time on random machines, with random users and faults, and
// holds invariants after every turn of its run loop. script/swarm starts it.
//   korvel_swarm SECONDS FIRST STEP   plays the seeds FIRST, FIRST + STEP and on for that long, and
//                                     prints what came of it as one JSON object
//   korvel_swarm --list SEED          prints the events of that world
//   korvel_swarm --replay FILE        plays such a list
//   korvel_swarm --scenario FILE      prints it as a scenario of korvel-sim, where it can be one
//   korvel_swarm --sentences          prints the invariants
//   korvel_swarm --kinds              prints the kinds of events
// Exit status 1, and the broken rule on standard output; 2: wrong usage.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <malloc.h>

#include <fmt/format.h>

#include "base/json_writer.h"
#include "swarm/player.h"

namespace {

using namespace korvel;
using namespace korvel::swarm;

constexpr int kBroken = 1;
constexpr int kWrongUsage = 2;

std::uint64_t playedSeed = 0; ///< for the signal handler; 0: a list

void tell(std::string_view sentence) {
    if (playedSeed == 0) {
        fmt::print("{}\n", sentence);
    } else {
        fmt::print("seed {}: {}\n", playedSeed, sentence);
    }
    std::fflush(stdout);
}

void tellOfDeath(int signal) {
    tell(signal == SIGABRT ? "The program does not end itself." : "The program does not crash.");
    std::_Exit(kBroken);
}

void tell(const Broken& broken) {
    const std::string detail = broken.detail.empty() ? "" : " (" + broken.detail + ")";
    tell(fmt::format("{}{} At {:.3f} s.", broken.sentence, detail, broken.at));
}

std::size_t openHandles() {
    const std::filesystem::directory_iterator handles("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(handles), end(handles)));
}

/// What must be the same after every world.
struct Rest {
    std::size_t heap = mallinfo2().uordblks + mallinfo2().hblkhd;
    std::size_t handles = openHandles();
};

void holdAtRest(const Rest& first) {
    constexpr std::size_t kSlack = std::size_t{256} << 10;
    const Rest now;
    if (now.heap > first.heap + kSlack) {
        throw Broken{"Memory in use does not grow from world to world.",
                     fmt::format("{} bytes", now.heap - first.heap)};
    }
    if (now.handles > first.handles) {
        throw Broken{"Open handles do not grow from world to world.", ""};
    }
}

int playSeeds(double seconds, std::uint64_t first, std::uint64_t step) {
    using Clock = std::chrono::steady_clock;
    constexpr int kWarm = 4; // worlds, after which everything that is made once was made
    const Clock::time_point begun = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - begun).count(); };
    Coverage coverage;
    Played all;
    std::optional<Rest> rest;
    int worlds = 0;
    for (std::uint64_t seed = first; passed() < seconds; seed += step) {
        playedSeed = seed;
        try {
            const Played played = play(makeWorld(seed), coverage);
            all.ran += played.ran;
            all.passed += played.passed;
            all.turns += played.turns;
            all.launches += played.launches;
            if (++worlds == kWarm) {
                rest.emplace();
            } else if (rest) {
                holdAtRest(*rest);
            }
        } catch (const Broken& broken) {
            tell(broken);
            return kBroken;
        }
    }
    JsonWriter json;
    json.beginObject().member("worlds", worlds).member("turns", all.turns);
    json.member("launches", all.launches).member("ran", all.ran).member("passed", all.passed);
    json.member("seconds", passed());
    json.member("processor", static_cast<double>(std::clock()) / CLOCKS_PER_SEC);
    json.key("events").beginObject();
    for (const auto& [what, count] : coverage.counts()) {
        json.member(what, count);
    }
    json.endObject().endObject();
    fmt::print("{}\n", json.text());
    return EXIT_SUCCESS;
}

std::optional<std::vector<Event>> readList(const char* path) {
    std::ifstream file(path);
    std::vector<Event> events;
    for (std::string line; std::getline(file, line);) {
        const std::optional<Event> event = readEvent(line);
        if (!event) {
            fmt::print(stderr, "{}: no event: {}\n", path, line);
            return std::nullopt;
        }
        events.push_back(*event);
    }
    return events;
}

int replay(const std::vector<Event>& events) {
    Coverage coverage;
    try {
        play(events, coverage);
    } catch (const Broken& broken) {
        tell(broken);
        return kBroken;
    }
    return EXIT_SUCCESS;
}

int printScenario(const std::vector<Event>& events) {
    std::string lines;
    for (const Event& event : events) {
        const EventKind& kind = eventKinds()[event.kind];
        const std::string members = kind.scenario == nullptr ? "" : kind.scenario(event.n);
        if (members.empty()) {
            return kBroken;
        }
        lines +=
            fmt::format("{}  {{\"at\": {}, {}}}", lines.empty() ? "" : ",\n", event.at, members);
    }
    const double until = events.empty() ? 0 : events.back().at;
    fmt::print("{{\"until\": {}, \"bundle\": {{\"version\": \"1.100\"}}, \"events\": [\n{}]}}\n",
               until + 1, lines);
    return EXIT_SUCCESS;
}

int listWorld(std::uint64_t seed) {
    for (const Event& event : makeWorld(seed)) {
        fmt::print("{}\n", text(event));
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** words) {
    const std::string_view mode = count > 1 ? words[1] : "";
    if (mode == "--sentences" && count == 2) {
        for (const char* const sentence : invariantSentences()) {
            fmt::print("{}\n", sentence);
        }
        return EXIT_SUCCESS;
    }
    if (mode == "--kinds" && count == 2) {
        for (const EventKind& kind : eventKinds()) {
            fmt::print("{}\n", kind.name);
        }
        return EXIT_SUCCESS;
    }
    if (mode == "--list" && count == 3) {
        return listWorld(std::strtoull(words[2], nullptr, 10));
    }
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGBUS, SIGILL}) {
        std::signal(signal, tellOfDeath);
    }
    if ((mode == "--replay" || mode == "--scenario") && count == 3) {
        const auto events = readList(words[2]);
        return !events              ? kWrongUsage
               : mode == "--replay" ? replay(*events)
                                    : printScenario(*events);
    }
    if (count == 4 && !mode.starts_with("--")) {
        return playSeeds(std::atof(words[1]), std::strtoull(words[2], nullptr, 10),
                         std::strtoull(words[3], nullptr, 10));
    }
    fmt::print(stderr, "see the top of tests/swarm/main.cpp\n");
    return kWrongUsage;
}
