#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/app_delegate.h"
#include "core/inspection_tools.h"
#include "core/metrics.h"
#include "platform/simulated/child_processes.h"
#include "platform/simulated/services.h"
#include "simulation/scenario.h"
#include "update/install_tools.h"

namespace korvel {
class Awake;
class ContentView;
class Model;
class Updater;
class WhatsNew;
} // namespace korvel

namespace korvel::simulation {

/// Where time passes for a program, and where it shows itself.
struct Stage {
    platform::Clock& clock;
    platform::RunLoop& runLoop;
    platform::StatusBar& statusBar;
};

/// The whole program on the machine of one scenario, and what may happen to it. A derived class
/// says where it runs, and makes the events happen.
class ScriptedProgram {
  public:
    ScriptedProgram(const ScriptedProgram&) = delete;
    ScriptedProgram& operator=(const ScriptedProgram&) = delete;
    virtual ~ScriptedProgram();

    // What a user or the system may do.
    virtual void togglePopover() = 0;
    virtual void clickOutside() = 0;
    virtual void terminate() = 0;
    /// Writes down what the popover shows, or would show if it were open.
    virtual void describePopover() = 0;
    void toggleBreakdown();
    void quitProcess(std::int32_t pid);
    void findSwapHolders();
    void previewReclaim();
    void runReclaim();
    void dismissPreview();
    void enableAwake(std::optional<std::int64_t> minutes);
    void disableAwake();
    void checkForUpdates();
    void installPending();
    void relaunch();
    void dismissWhatsNew();
    /// The machine sleeps for so many seconds of the wall clock.
    void sleep(double seconds);
    /// The wall clock is set forth or back.
    void turnClock(double seconds) { simulated_.clock.turn(seconds); }
    MachineState machine() { return {simulated_.machine.readings, simulated_.processes, agents_}; }
    platform::SimulatedDefaults& defaults() { return simulated_.defaults; }
    platform::SimulatedPower& power() { return simulated_.power; }
    ReclaimScript& script() { return script_; }
    platform::SimulatedHttp& http() { return http_; }
    /// What the next downloads and installations meet.
    void setArchive(const ScriptedArchive& archive);

    platform::SimulatedServices& simulated() { return simulated_; }
    const platform::SimulatedServices& simulated() const { return simulated_; }
    const Model& model() const;
    const Awake& awake() const { return *awake_; }
    Updater& updater() { return *updater_; }
    const WhatsNew& whatsNew() const { return *whatsNew_; }

  protected:
    /// Makes the machine. The scenario outlives the program, and so does the stage, which is the
    /// simulated one where none is given.
    explicit ScriptedProgram(const Scenario& scenario, const Stage* stage = nullptr);

    /// Starts the program on its stage; `makePopover` is called once, within it.
    void launch(const PopoverFactory& makePopover);
    /// Ends the program.
    void end() { delegate_->applicationWillTerminate(); }

    const Scenario& scenario() const { return scenario_; }
    AppDelegate& delegate() { return *delegate_; }
    ContentView& view() { return *view_; }

  private:
    void answerTools();
    void answerUpdateTools();
    /// What the scenario says of a move.
    Status<std::errc> move(const std::string& from, const std::string& to) const;
    std::optional<platform::ChildResult>
    runScript(const platform::SimulatedChildProcesses::Arguments& arguments);

    const Scenario& scenario_;
    platform::SimulatedServices simulated_;
    platform::Fallible<std::string> agents_;
    LaunchctlAgents launchctlAgents_{simulated_.childProcesses};
    VmmapSwappedMemory vmmapMemory_{simulated_.childProcesses};
    ReclaimScript script_;
    ScriptedArchive archive_;
    std::uint64_t uuids_ = 0; ///< given out so far
    DittoArchive dittoArchive_{simulated_.childProcesses};
    CodesignSignature codesignSignature_{simulated_.childProcesses};
    platform::SimulatedHttp http_; ///< on the stage's time
    platform::Services services_;
    Metrics metrics_;
    std::shared_ptr<Awake> awake_;
    std::shared_ptr<Updater> updater_;
    std::shared_ptr<WhatsNew> whatsNew_;
    ContentView* view_ = nullptr; ///< the delegate's
    std::shared_ptr<AppDelegate> delegate_;
};

} // namespace korvel::simulation
