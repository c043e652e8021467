#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "simulation/scripted_program.h"
#include "swarm/coverage.h"
#include "swarm/event.h"

namespace korvel::platform {
class SimulatedPopover;
}

namespace korvel::swarm {

class Ledger;

/// What of a world a program does not own: it is as the program before it left it.
struct Surroundings {
    double wall = platform::kSimulatedStart; ///< seconds since 1970
    double off = 0;                          ///< seconds, after the running program
    std::map<std::string, std::string> home; ///< files, by their paths
    std::set<std::string> unreadable;        ///< paths
    std::set<std::string> unwritable;        ///< paths
    std::map<std::string, platform::SimulatedDefaults::Value> defaults;
    std::int64_t build = 100; ///< of the bundle
    platform::SimulatedReadings machine;
    std::vector<platform::SimulatedProcess> processes;
    bool processesFail = false;
    simulation::ReclaimScript script;
    simulation::ScriptedFeed feed;
    std::size_t archiveFault = 1;
    double downloadTakes = 0; ///< seconds
    std::size_t agents = 0;   ///< which of the texts
    bool agentsFail = false;
    bool grantsDisplay = true;
    bool grantsSystem = true;
    bool bundleWritable = true;
    bool forgetsSettings = false;    ///< before the next launch
    double mapTakes = 0;             ///< seconds, for a run of the tool for memory maps
    std::set<std::string> deadTools; ///< that cannot be started
};

/// One program from its launch to its end.
class Life final : public simulation::ScriptedProgram {
  public:
    /// Both outlive it.
    Life(const simulation::Scenario& scenario, Surroundings& around, Coverage& coverage);
    ~Life() override;

    /// Launches it and lets these happen, whose times are counted from `launchedAt`, until the
    /// program or the list ends. Gives how many of them happened. Throws `Broken`.
    std::size_t run(const Event* events, std::size_t count, double launchedAt);
    /// Seconds that it ran.
    double ran() const { return simulated().runLoop.elapsed(); }

    void togglePopover() override;
    void clickOutside() override;
    void terminate() override;
    void describePopover() override;

    /// The program is ended from outside; `orderly`: it is told before. The machine is then off
    /// for so many seconds.
    void endBy(bool orderly, double off);
    void setArchiveFault(std::size_t fault);
    void putHistory(std::size_t rows);
    const std::string& historyPath() const { return historyPath_; }

    Ledger& ledger() { return *ledger_; }
    Surroundings& around() { return around_; }
    Coverage& coverage() { return coverage_; }
    ContentView& root() { return view(); }
    const ContentView& root() const { return const_cast<Life*>(this)->view(); }
    platform::SimulatedPopover& popover() { return *popover_; }

  private:
    void prepare();
    void answerSlowly();
    void next();
    void keep();

    Surroundings& around_;
    Coverage& coverage_;
    std::string historyPath_;
    std::unique_ptr<Ledger> ledger_;
    platform::SimulatedPopover* popover_ = nullptr;
    const Event* event_ = nullptr;
    const Event* end_ = nullptr;
    double launchedAt_ = 0;
    std::size_t happened_ = 0;
    bool orderly_ = true;
};

} // namespace korvel::swarm
