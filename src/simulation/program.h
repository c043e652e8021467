#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/snapshot.h"
#include "simulation/scripted_program.h"
#include "simulation/trace.h"
#include "update/whats_new.h"

namespace korvel::simulation {

/// What the reclaim commands of the model show.
struct ReclaimState {
    bool scanning = false;
    bool reclaiming = false;
    std::optional<std::string> preview;
    std::optional<std::string> result;

    bool operator==(const ReclaimState&) const = default;
};

/// The whole program on a simulated machine in virtual time, from its launch to its end, as one
/// scenario has it. Several may live in one process.
class SimulatedProgram final : public ScriptedProgram {
  public:
    /// Makes the machine; `print` takes each line of the trace. Where it is empty no line is made,
    /// and the run costs less than half. The scenario outlives the program.
    SimulatedProgram(const Scenario& scenario, std::function<void(std::string_view line)> print);

    /// Launches the program, lets the scenario happen to it and ends it. Called once.
    void run();

    /// Called when the scenario is over and the program about to end; may be empty.
    std::function<void(ContentView& root)> atTheEnd;

    /// Seconds since the launch. Callable at any time, also from a signal handler.
    double elapsed() const { return simulated().runLoop.elapsed(); }

    void togglePopover() override;
    void clickOutside() override;
    void terminate() override;
    /// Traces it.
    void describePopover() override;

  private:
    void watch();
    std::unique_ptr<platform::Popover> makePopover(ContentView& root);
    void traceChanges();

    bool traced_;
    Trace trace_;
    platform::SimulatedPopover* popover_ = nullptr; ///< the delegate's
    bool tracedScanning_ = false;
    std::vector<ProcInfo> tracedHolders_;
    std::pair<bool, std::optional<platform::Date>> tracedAwake_;
    ReclaimState tracedReclaim_;
    std::pair<WhatsNew::Kind, std::vector<std::string>> tracedWhatsNew_;
};

} // namespace korvel::simulation
