// A day of the whole program in virtual time.

#include <benchmark/benchmark.h>

#include "simulation/program.h"

namespace {

using namespace korvel::simulation;

void simulatedDay(benchmark::State& state) {
    Scenario scenario;
    scenario.until = 86400;
    for (auto _ : state) {
        SimulatedProgram program(scenario, {});
        program.run();
        if (program.elapsed() != 86400) {
            state.SkipWithError("the day ended early");
            return;
        }
    }
}
BENCHMARK(simulatedDay)->Unit(benchmark::kSecond);

} // namespace
