// One sample of the program on this machine, beside a bare loop that makes the same reads.

#include <cstdlib>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "bare_loop.h"
#include "core/metrics.h"
#include "crowd.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/posix/system_clock.h"
#include "platform/simulated/agents.h"
#include "platform/simulated/processes.h"

namespace {

using namespace korvel;

/// Whether there are as many processes as the benchmark is to have; says why if not. They stay
/// until another benchmark wants another number.
bool crowded(benchmark::State& state) {
    static std::unique_ptr<bench::Crowd> crowd;
    static std::int64_t present = 0;
    if (!crowd || present != state.range(0) || !crowd->fault().empty()) {
        crowd.reset();
        present = state.range(0);
        crowd = std::make_unique<bench::Crowd>(static_cast<int>(present));
    }
    if (!crowd->fault().empty()) {
        state.SkipWithError(crowd->fault().c_str());
    }
    return crowd->fault().empty();
}

std::string home() {
    const char* variable = std::getenv("HOME");
    return variable != nullptr ? variable : "/";
}

// The agent's state is kept by the bus's signals and costs a sample nothing, so it is simulated.

void sample(benchmark::State& state) {
    if (!crowded(state)) {
        return;
    }
    platform::raiseDescriptorLimit();
    platform::LinuxMachine machine("/", home());
    platform::LinuxProcesses processes;
    platform::SimulatedAgents agents;
    platform::SystemClock clock;
    Metrics metrics(machine, processes, agents, clock);
    metrics.snapshot();
    for (auto _ : state) {
        benchmark::DoNotOptimize(metrics.snapshot());
    }
    state.counters["processes"] = bench::processesOnMachine();
}
BENCHMARK(sample)->Arg(120)->Arg(520)->Arg(2000)->Unit(benchmark::kMicrosecond);

void bareLoop(benchmark::State& state) {
    if (!crowded(state)) {
        return;
    }
    if (!bareLoopOpen()) {
        state.SkipWithError("the process table does not open");
        return;
    }
    bareLoopSample();
    for (auto _ : state) {
        benchmark::DoNotOptimize(bareLoopSample());
    }
    if (bareLoopUnread() > 0) {
        state.SkipWithError("too few descriptors: the bare loop keeps one for each process");
    }
    state.counters["processes"] = bareLoopProcesses();
    bareLoopClose();
}
BENCHMARK(bareLoop)->Arg(120)->Arg(520)->Arg(2000)->Unit(benchmark::kMicrosecond);

/// Everything but the walk over the processes.
void sampleWithoutProcesses(benchmark::State& state) {
    platform::LinuxMachine machine("/", home());
    platform::SimulatedProcesses processes;
    platform::SimulatedAgents agents;
    platform::SystemClock clock;
    Metrics metrics(machine, processes, agents, clock);
    for (auto _ : state) {
        benchmark::DoNotOptimize(metrics.snapshot());
    }
}
BENCHMARK(sampleWithoutProcesses)->Unit(benchmark::kMicrosecond);

} // namespace
