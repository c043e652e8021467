// Prints what korvel-snapshot --prometheus would print at the end of a scenario.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "model/model.h"
#include "report/snapshot_metrics.h"
#include "simulation/command_line.h"
#include "simulation/program.h"

int main(int argc, char** argv) {
    using namespace korvel;
    if (argc != 2) {
        return simulation::complain("scenario_metrics", "one scenario is needed");
    }
    const auto scenario = simulation::loadScenario(argv[1]);
    if (!scenario) {
        return simulation::complain("scenario_metrics", argv[1], scenario.error());
    }
    simulation::SimulatedProgram program(*scenario, {});
    program.run();
    const std::string text = snapshotMetrics(*program.model().snap, Rates::known, "simulated");
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return isWritten && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
