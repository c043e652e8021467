// One sample of the program on this machine, beside a bare loop that makes the same reads.

#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include "bare_loop.h"
#include "core/metrics.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/posix/system_clock.h"
#include "platform/simulated/agents.h"
#include "platform/simulated/processes.h"

namespace {

using namespace korvel;

/// Children that sleep, until there are as many processes on the machine as asked for.
class Crowd {
  public:
    explicit Crowd(int processes) {
        bareLoopOpen();
        bareLoopSample();
        for (int missing = processes - bareLoopProcesses(); missing > 0; --missing) {
            const pid_t child = ::fork();
            if (child == 0) {
                for (;;) {
                    ::pause();
                }
            }
            children_.push_back(child);
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd() {
        for (const pid_t child : children_) {
            ::kill(child, SIGKILL);
        }
        for (const pid_t child : children_) {
            ::waitpid(child, nullptr, 0);
        }
    }

  private:
    std::vector<pid_t> children_;
};

std::string home() {
    const char* variable = std::getenv("HOME");
    return variable != nullptr ? variable : "/";
}

// The agent's state is kept by the bus's signals and costs a sample nothing, so it is simulated.

void sample(benchmark::State& state) {
    const Crowd crowd(static_cast<int>(state.range(0)));
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
    bareLoopSample();
    state.counters["processes"] = bareLoopProcesses();
}
BENCHMARK(sample)->Arg(100)->Arg(500)->Arg(2000)->Unit(benchmark::kMicrosecond);

void bareLoop(benchmark::State& state) {
    const Crowd crowd(static_cast<int>(state.range(0)));
    platform::raiseDescriptorLimit();
    bareLoopSample();
    for (auto _ : state) {
        benchmark::DoNotOptimize(bareLoopSample());
    }
    state.counters["processes"] = bareLoopProcesses();
}
BENCHMARK(bareLoop)->Arg(100)->Arg(500)->Arg(2000)->Unit(benchmark::kMicrosecond);

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
