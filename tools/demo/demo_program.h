#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>

#include <QTimer>

#include "platform/clock.h"
#include "platform/linux/session/tray_status_bar.h"
#include "platform/qt/run_loop.h"
#include "simulation/scripted_program.h"

namespace korvel::simulation {

/// A wall clock that starts where the scenario says and goes on as real time does.
class StartedClock final : public platform::Clock {
  public:
    explicit StartedClock(platform::Date start) : start_(start) {}

    platform::Date now() override;

  private:
    platform::Date start_;
    std::chrono::steady_clock::time_point madeAt_ = std::chrono::steady_clock::now();
};

/// The application's run loop, but that nothing runs beside the main thread: the simulated machine
/// belongs to one thread.
class OneThreadRunLoop final : public platform::RunLoop {
  public:
    void async(Work work) override { loop_.async(std::move(work)); }
    void after(double seconds, Work work) override { loop_.after(seconds, std::move(work)); }
    std::unique_ptr<platform::Timer> once(double seconds, Work work) override {
        return loop_.once(seconds, std::move(work));
    }
    std::unique_ptr<platform::Timer> every(double seconds, Work work) override {
        return loop_.every(seconds, std::move(work));
    }
    void background(Work work) override { loop_.async(std::move(work)); }
    void terminate() override { loop_.terminate(); }

  private:
    platform::QtRunLoop loop_;
};

/// What the stage of a demonstration is made of; made before the program that runs on it.
struct DemoDesktop {
    explicit DemoDesktop(const Scenario& scenario) : clock(scenario.start) {}

    StartedClock clock;
    OneThreadRunLoop runLoop;
    platform::TrayStatusBar statusBar;
    Stage stage{clock, runLoop, statusBar};
};

/// The program in the real tray, with its real popover, on a scenario's machine and in real time.
class DemoProgram final : public ScriptedProgram {
  public:
    /// The scenario and the desktop outlive the program.
    DemoProgram(const Scenario& scenario, DemoDesktop& desktop);

    /// Launches the program. The scenario's events come at their seconds from now; `until` ends the
    /// application, which without it goes on until it is quit.
    void start();
    /// Ends the program; to be called once, after the application's loop.
    void finish() { end(); }

    void togglePopover() override;
    void clickOutside() override;
    void terminate() override;
    void describePopover() override {} // it is there to be seen

  private:
    void playDue();

    DemoDesktop& desktop_;
    platform::Popover* popover_ = nullptr; ///< the delegate's
    std::chrono::steady_clock::time_point launchedAt_;
    QTimer nextEvent_;
    std::size_t played_ = 0; ///< events so far
};

} // namespace korvel::simulation
