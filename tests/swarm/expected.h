#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/snapshot.h"
#include "simulation/scenario.h"

namespace korvel::swarm {

/// What a reading of the machine has to come to, worked out anew from the machine's figures with
/// nothing shared with the program.
struct Expected {
    struct Process {
        std::int32_t pid = 0;
        std::string name;
        double gb = 0;
    };
    struct Factor {
        const char* name = "";
        double weight = 0;
        double health = 0;
        std::string detail;
    };

    double cpuPct = 0;
    double memUsedGB = 0;
    double memTotalGB = 0;
    double memPct = 0;
    double compressedGB = 0;
    double memAvailableGB = 0;
    int pressure = 1;
    double swapUsedGB = 0;
    double swapTotalGB = 0;
    double swapPct = 0;
    bool swappingNow = false;
    double diskFreeGB = 0;
    double diskPct = 0;
    double load1 = 0;
    int cores = 1;
    std::string uptime;
    std::vector<Process> top;
    bool wardenOn = false;
    int thermal = 0;
    std::array<Factor, 6> factors; ///< most points lost first
    std::int64_t score = 0;
    std::string verdict;
    std::vector<std::string> alerts;
    std::optional<Process> runaway;
};

std::string verdictFor(std::int64_t score);
const char* thermalWords(int thermal);
const char* pressureWords(int pressure);

/// "%.1f" and the like.
std::string printed(const char* format, double number);

/// The heaviest processes that are to be listed.
std::vector<Expected::Process> heaviest(const platform::SimulatedProcesses& processes,
                                        std::size_t limit);

/// The second opinion on the sampler: remembers the counters of the reading before.
class SecondSampler {
  public:
    /// `loaded`: what the service manager's listing says of the watchdog.
    const Expected& sample(const simulation::MachineState& machine, bool loaded, double wall);

  private:
    void readMemory(const platform::SimulatedReadings& machine, double wall);
    void readProcessor(const platform::SimulatedReadings& machine);
    void score();

    Expected e_;
    std::optional<platform::CpuTicks> ticks_;
    std::uint64_t swapouts_ = 0;
    std::optional<double> swapTime_;
};

/// But for the last bits, which differ where sums are taken in another order.
bool near(double a, double b);
bool sameFactors(const Expected& expected, const Snapshot& snap);

/// The first figure in which a published reading differs; empty: none.
std::string difference(const Expected& expected, const Snapshot& snap);

} // namespace korvel::swarm
