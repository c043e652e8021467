#include "tools/demo/demo_program.h"

#include <algorithm>
#include <chrono>

#include "app/main_popover_linux.h"
#include "ui/content/linux_words.h"

namespace korvel::simulation {

namespace {

using std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr Seconds kLongestWait = std::chrono::hours(1); ///< of a timer; then it looks again

} // namespace

platform::Date StartedClock::now() {
    return start_ + Seconds(steady_clock::now() - madeAt_).count();
}

DemoProgram::DemoProgram(const Scenario& scenario, DemoDesktop& desktop)
    : ScriptedProgram(scenario, &desktop.stage), desktop_(desktop) {
    nextEvent_.setSingleShot(true);
    nextEvent_.setTimerType(Qt::PreciseTimer);
    nextEvent_.callOnTimeout(&nextEvent_, [this] { playDue(); });
}

void DemoProgram::start() {
    launch([this](ContentView& root) {
        auto popover = makeLinuxPopover(root, linuxWords);
        popover_ = popover.get();
        return popover;
    });
    launchedAt_ = steady_clock::now();
    playDue();
}

void DemoProgram::playDue() {
    const std::vector<ScenarioEvent>& events = scenario().events;
    for (;;) {
        const bool more = played_ < events.size() &&
                          (!scenario().until || events[played_].at <= *scenario().until);
        if (!more && !scenario().until) {
            return;
        }
        const Seconds due(more ? events[played_].at : *scenario().until);
        const Seconds left = due - Seconds(steady_clock::now() - launchedAt_);
        if (left > Seconds(0)) {
            nextEvent_.start(
                std::chrono::ceil<std::chrono::milliseconds>(std::min(left, kLongestWait)));
            return;
        }
        if (!more) {
            terminate();
            return;
        }
        events[played_++].act(*this);
    }
}

void DemoProgram::togglePopover() {
    delegate().togglePopover({});
}

void DemoProgram::clickOutside() {
    popover_->close();
}

void DemoProgram::terminate() {
    desktop_.runLoop.terminate();
}

} // namespace korvel::simulation
