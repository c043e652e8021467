#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/metrics.h"
#include "core/system_tools.h"
#include "platform/simulated/child_processes.h"
#include "platform/simulated/services.h"
#include "simulation/scenario.h"
#include "simulation/trace.h"

namespace korvel {
class AppDelegate;
class ContentView;
class Model;
} // namespace korvel

namespace korvel::simulation {

/// The whole program on a simulated machine, from its launch to its end, as one scenario has it.
/// Several may live in one process.
class SimulatedProgram {
  public:
    /// Makes the machine; `print` takes each line of the trace. The scenario outlives the program.
    SimulatedProgram(const Scenario& scenario, std::function<void(std::string_view line)> print);
    SimulatedProgram(const SimulatedProgram&) = delete;
    SimulatedProgram& operator=(const SimulatedProgram&) = delete;
    ~SimulatedProgram();

    /// Launches the program, lets the scenario happen to it and ends it. Called once.
    void run();

    /// Seconds since the launch. Callable at any time, also from a signal handler.
    double elapsed() const { return simulated_.runLoop.elapsed(); }

    // What a user or the system may do.
    void togglePopover();
    void clickOutside();
    void terminate();
    MachineState machine() { return {simulated_.machine.readings, simulated_.processes, agents_}; }

  private:
    void answerTools();
    void watch();
    std::unique_ptr<platform::Popover> makePopover(ContentView& root);
    void traceNewReading();

    const Scenario& scenario_;
    Trace trace_;
    platform::SimulatedServices simulated_;
    platform::SimulatedChildProcesses children_;
    platform::Reading<std::string> agents_;
    LaunchctlAgents launchctlAgents_{children_};
    VmmapSwappedMemory vmmapMemory_{children_};
    platform::Services services_;
    Metrics metrics_;
    platform::SimulatedPopover* popover_ = nullptr; ///< the delegate's
    const Model* model_ = nullptr;                  ///< the delegate's
    std::optional<Uuid>
        traced_; ///< the published reading that was traced last, by its first factor
    std::shared_ptr<AppDelegate> delegate_;
};

} // namespace korvel::simulation
