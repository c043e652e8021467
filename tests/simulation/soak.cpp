// Lets years pass over simulated programs, and holds what they show against rules that no load, no
// sleep, no clock and no failure may break.
//   korvel_soak [--seconds N] [SEED...]
// Without seeds: 1, 2, 3 and on, for N seconds (40). Exit status 1 at the first broken rule.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <simdjson.h>

#include "model/awake.h"
#include "model/history_store.h"
#include "model/model.h"
#include "simulation/program.h"
#include "support/generator.h"

namespace {

using namespace korvel;
using namespace korvel::simulation;
using test::Generator;

constexpr double kDay = 86400;
constexpr double kYear = 365 * kDay;
/// Of the year the machine is on for so long, in one stretch of run time after another: long
/// enough that the history is full, and cut, well before the end.
constexpr double kOn = 3.6 * kDay;
constexpr double kHistoryFull = 2.6 * kDay;
constexpr int kSleeps = 500;
constexpr double kLeastInterval = 900; // seconds between two notifications
constexpr double kQuiet = 120;         // seconds after launch
/// What the heap may have grown by while the history was full, in bytes.
constexpr std::size_t kFlat = std::size_t{512} << 10;

/// Says what was broken, and where, and ends the run.
[[noreturn]] void broken(std::uint64_t seed, double t, const std::string& rule) {
    fmt::print(stderr, "seed {}, {} s after launch: {}\n", seed, t, rule);
    std::exit(EXIT_FAILURE);
}

bool holdsWord(std::string_view text, std::string_view word) {
    const auto letter = [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; };
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        if ((at == 0 || !letter(text[at - 1])) && (end == text.size() || !letter(text[end]))) {
            return true;
        }
    }
    return false;
}

/// Holds each line of a trace against the rules.
class Rules {
  public:
    Rules(std::uint64_t seed, double start) : seed_(seed), start_(start) {}

    void read(std::string_view line) {
        simdjson::dom::element root;
        if (parser_.parse(line.data(), line.size()).get(root) != simdjson::SUCCESS) {
            broken(seed_, t_, fmt::format("no JSON: {}", line));
        }
        t_ = root["t"].get_double();
        const std::string_view what = root["what"];
        ++lines_;
        if (what != "wrote" && (holdsWord(line, "nan") || holdsWord(line, "inf"))) {
            broken(seed_, t_, fmt::format("a text of no number: {}", line));
        }
        if (what == "notification") {
            ++notifications_;
        } else if (what == "defaults" && root["key"].get_string().value() == "lastNotifiedAt") {
            const double at = root["value"].get_double();
            if (!(at - start_ > kQuiet)) {
                broken(seed_, t_, "a notification within 120 s of the launch");
            }
            if (lastAt_ && !(at - *lastAt_ > kLeastInterval)) {
                broken(seed_, t_, "two notifications within 900 s");
            }
            lastAt_ = at;
        } else if (what == "updater") {
            readUpdater(root["state"].get_string().value());
        } else if (what == "assertion") {
            held_ += root["op"].get_string().value() == "create" ? 1 : -1;
        } else if (what == "awake") {
            ++switches_;
            if (root["on"].get_bool().value() != (held_ > 0)) {
                broken(seed_, t_, "keep-awake and the assertions say different things");
            }
        } else if (what == "exit" && held_ != 0) {
            broken(seed_, t_, "an assertion is left behind");
        }
        if (held_ < 0 || held_ > 2) {
            broken(seed_, t_, fmt::format("{} assertions are held", held_));
        }
    }

    /// Before an event, when what the one before it began is over.
    void lookBefore(ScriptedProgram& program) {
        if (program.simulated().fileManager.folders.size() > 1) {
            broken(seed_, t_, "an installation left its folder");
        }
    }

    /// What is not in the trace.
    void look(ScriptedProgram& program) {
        if (program.simulated().runLoop.waitingOnce() > 1) {
            broken(seed_, t_, "two end timers");
        }
        if (program.model().history->size() > kHistoryCap) {
            broken(seed_, t_, "a history without a bound");
        }
        if (*program.awake().on != (held_ > 0)) {
            broken(seed_, t_, "keep-awake is not what the assertions are");
        }
        // The simulation's own notes are no memory of the program's.
        program.simulated().childProcesses.runs.clear();
        program.simulated().statusBar.titles.clear();
        program.simulated().files.writes.clear();
        program.simulated().files.contents.clear();
        program.simulated().workspace.revealed.clear();
        program.http().urls.clear();
        program.simulated().processes.terminated.clear();
        program.simulated().notifications.posted.clear();
        const std::size_t used = mallinfo2().uordblks;
        if (t_ >= kHistoryFull && !flat_) {
            flat_ = used;
        }
        if (flat_ && used > *flat_ + kFlat) {
            broken(seed_, t_, fmt::format("the heap grew by {} bytes", used - *flat_));
        }
    }

    void summary() const {
        fmt::print("seed {}: {} lines, {} notifications, {} switches of keep-awake, {} updates\n",
                   seed_, lines_, notifications_, switches_, updates_);
        if (notifications_ == 0 || switches_ == 0 || updates_ == 0) {
            broken(seed_, t_, "a year in which nothing happened proves nothing");
        }
    }

    /// An installation is to end well now and then, and never otherwise.
    bool mayInstall = false;

  private:
    void readUpdater(std::string_view state) {
        if (state == "readyToRelaunch") {
            ++updates_;
            if (!mayInstall) {
                broken(seed_, t_, "an update was installed that should not have been");
            }
        }
    }

    std::uint64_t seed_;
    double start_;
    simdjson::dom::parser parser_;
    double t_ = 0;
    std::uint64_t lines_ = 0;
    int notifications_ = 0;
    int switches_ = 0;
    int updates_ = 0;
    int held_ = 0;
    std::optional<double> lastAt_;
    std::optional<std::size_t> flat_;
};

/// Another load: mostly at ease, at times far beyond what the machine can bear, and now and then
/// with readings that cannot be taken.
void load(Generator& generator, ScriptedProgram& program) {
    const MachineState machine = program.machine();
    platform::SimulatedReadings& r = machine.readings;
    const double strain = generator.between(0, 1) * generator.between(0, 1.4);
    const std::int32_t levels[] = {1, 1, 2, 4};
    r.pressureLevel.value = levels[static_cast<std::size_t>(strain * 2.8)];
    r.load.value = {strain * 40, strain * 30, strain * 20};
    r.thermalState = static_cast<int>(strain * 4) - static_cast<int>(generator.below(30) == 0);
    r.vm.value.free_count = static_cast<std::uint32_t>(196608 * (1.4 - strain));
    r.vm.value.inactive_count = static_cast<std::uint32_t>(393216 * (1.4 - strain));
    r.vm.value.swapouts += generator.below(2) * generator.below(5000);
    r.swap.value = {std::uint64_t{8} << 30, 0, generator.below(std::uint64_t{8} << 30)};
    r.volume.value.f_bavail = generator.below(131072000);
    r.cpuTicks.value.user += static_cast<std::uint32_t>(generator.below(5000));
    r.cpuTicks.value.idle += static_cast<std::uint32_t>(generator.below(5000));
    const auto fails = [&] { return generator.below(12) == 0; };
    r.vm.fails = fails();
    r.swap.fails = fails();
    r.volume.fails = fails();
    r.load.fails = fails();
    r.cpuTicks.fails = fails();
    r.pressureLevel.fails = fails();
    r.bootTime.fails = fails();
    machine.agents.fails = fails();
    machine.processes.listingFails = fails();
    machine.processes.table.clear();
    for (std::uint64_t i = generator.below(9); i > 0; --i) {
        machine.processes.table.push_back(
            {static_cast<std::int32_t>(400 + i), fmt::format("process {}", i),
             generator.below(std::uint64_t{11} << 30), "Writable regions: swapped_out=300M"});
    }
}

/// What the feed answers, and what a download and an installation meet; now and then all is well.
void releaseSomething(Generator& generator, ScriptedProgram& program, Rules& rules) {
    const auto fails = [&] { return generator.below(16) == 0; };
    constexpr const char* kDigest =
        "4a70fe9aa6436e02c2dea340fbd1e352e4ef2d8ce6ca52ad25d4b95471fc8bf2"; // of "zip"
    program.http().document = platform::SimulatedHttp::Answer{
        fails() ? 500 : 200,
        fmt::format(
            R"({{"version": "1.1", "build": {}, "url": "https://host/a.zip", "sha256": "{}"}})",
            98 + generator.below(20), kDigest),
        generator.between(0, 18)};
    if (fails()) {
        program.http().document.reset();
    }
    ScriptedArchive archive;
    archive.reachable = !fails();
    archive.status = fails() ? 404 : 200;
    archive.bytes = fails() ? "zap" : "zip";
    archive.unpackStatus = fails() ? 1 : 0;
    archive.strict = !fails();
    if (fails()) {
        archive.entries = {"readme"};
    }
    if (fails()) {
        archive.team.reset();
    }
    if (fails()) {
        archive.moves[generator.below(2)] = "It cannot be moved.";
    }
    program.setArchive(archive);
    program.simulated().bundle.writable = !fails();
    rules.mayInstall = archive.reachable && archive.status == 200 && archive.bytes == "zip" &&
                       archive.unpackStatus == 0 && archive.strict && archive.entries.size() == 1 &&
                       archive.entries[0] == "Korvel.app" && archive.team && !archive.moves[0] &&
                       !archive.moves[1] && program.simulated().bundle.writable;
}

/// Something that a user or the system does.
void act(Generator& generator, ScriptedProgram& program, Rules& rules) {
    switch (generator.below(20)) {
    case 16:
        return program.checkForUpdates();
    case 17:
        return program.installPending();
    case 18:
        return releaseSomething(generator, program, rules);
    case 19:
        return program.dismissWhatsNew();
    case 0:
        return program.enableAwake(static_cast<std::int64_t>(generator.below(200)));
    case 1:
        return program.enableAwake(std::nullopt);
    case 2:
    case 3:
        return program.disableAwake();
    case 4:
        program.power().grantsDisplay = generator.chance();
        program.power().grantsSystem = generator.chance();
        return;
    case 5:
        return program.previewReclaim();
    case 6:
        return program.runReclaim();
    case 7:
        program.script() = {"TOTAL RECLAIMABLE 1.0 GB\n", generator.below(1 << 30),
                            generator.between(0, 400)};
        return;
    case 8:
        return program.findSwapHolders();
    case 9:
        return program.quitProcess(static_cast<std::int32_t>(401 + generator.below(9)));
    case 10:
        return program.togglePopover();
    case 11:
        return program.clickOutside();
    case 12:
        return program.turnClock(generator.between(-2 * kDay, 2 * kDay));
    case 13:
        program.simulated().files.unwritable.clear();
        if (generator.chance()) {
            program.simulated().files.unwritable.insert(
                program.simulated().files.inHome(".korvel-history.json"));
        }
        return;
    case 14:
        return program.toggleBreakdown();
    default:
        return program.describePopover();
    }
}

void live(std::uint64_t seed) {
    Generator generator(seed);
    Scenario scenario;
    scenario.until = kOn;
    Rules rules(seed, scenario.start);
    const auto happens = [&](double at, std::function<void(ScriptedProgram&)> work) {
        scenario.events.push_back({at, [work = std::move(work), &rules](ScriptedProgram& program) {
                                       rules.lookBefore(program);
                                       work(program);
                                       rules.look(program);
                                   }});
    };
    for (double at = 0; at < kOn; at += generator.between(5, 400)) {
        happens(at, [&](ScriptedProgram& program) { load(generator, program); });
    }
    for (double at = 0; at < kOn; at += generator.between(1, 500)) {
        happens(at, [&](ScriptedProgram& program) { act(generator, program, rules); });
    }
    for (int i = 0; i < kSleeps; ++i) {
        happens(generator.between(0, kOn), [&](ScriptedProgram& program) {
            program.sleep(generator.between(0, 2) * (kYear - kOn) / kSleeps);
        });
    }
    std::stable_sort(scenario.events.begin(), scenario.events.end(),
                     [](const auto& a, const auto& b) { return a.at < b.at; });
    SimulatedProgram program(scenario, [&](std::string_view line) { rules.read(line); });
    program.run();
    rules.summary();
}

} // namespace

int main(int count, char** arguments) {
    double seconds = 40;
    std::vector<std::uint64_t> seeds;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--seconds" && i + 1 < count) {
            seconds = std::atof(arguments[++i]);
        } else {
            seeds.push_back(std::strtoull(arguments[i], nullptr, 10));
        }
    }
    const auto begun = std::chrono::steady_clock::now();
    for (const std::uint64_t seed : seeds) {
        live(seed);
    }
    for (std::uint64_t seed = 1; seeds.empty(); ++seed) {
        live(seed);
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun;
        if (passed.count() >= seconds) {
            break;
        }
    }
    return EXIT_SUCCESS;
}
