#include "swarm/expected.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "swarm/texts.h"

namespace korvel::swarm {

namespace {

constexpr double kGigabyte = 1073741824.0;

double smaller(double a, double b) {
    return a < b ? a : b;
}

std::string upSince(std::int64_t boot, double wall) {
    const std::int64_t seconds = static_cast<std::int64_t>(wall) - boot;
    const std::int64_t hours = seconds / 3600;
    if (seconds >= 86400) {
        return std::to_string(hours / 24) + "d " + std::to_string(hours % 24) + "h";
    }
    const std::string minutes = std::to_string(seconds % 3600 / 60) + "m";
    return seconds < 3600 ? minutes : std::to_string(hours) + "h " + minutes;
}

} // namespace

std::string printed(const char* format, double number) {
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

std::string verdictFor(std::int64_t score) {
    return score < 35   ? "Critical"
           : score < 55 ? "Strained"
           : score < 72 ? "Fair"
           : score < 88 ? "Healthy"
                        : "Excellent";
}

const char* thermalWords(int thermal) {
    constexpr const char* kWords[] = {"normal", "warm", "hot, throttling",
                                      "very hot, heavily throttled"};
    return thermal >= 0 && thermal <= 3 ? kWords[thermal] : "unknown";
}

const char* pressureWords(int pressure) {
    return pressure == 4   ? "macOS is out of room"
           : pressure == 2 ? "macOS is under pressure"
                           : "macOS is comfortable";
}

std::vector<Expected::Process> heaviest(const platform::SimulatedProcesses& processes,
                                        std::size_t limit) {
    std::vector<Expected::Process> found;
    if (processes.listingFails) {
        return found;
    }
    for (const platform::SimulatedProcess& process : processes.table) {
        const double gb = static_cast<double>(process.physFootprint.value_or(0)) / kGigabyte;
        if (process.pid > 0 && gb > 0.05 && !process.name.empty()) {
            found.push_back({process.pid, process.name, gb});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.gb > b.gb; });
    if (found.size() > limit) {
        found.erase(found.begin() + static_cast<std::ptrdiff_t>(limit), found.end());
    }
    return found;
}

void SecondSampler::readMemory(const platform::SimulatedReadings& machine, double wall) {
    e_.memUsedGB = e_.memPct = e_.compressedGB = e_.memAvailableGB = 0;
    e_.pressure = 1;
    e_.swappingNow = false;
    if (machine.vm.fails) {
        return;
    }
    const platform::VmStatistics& vm = machine.vm.value;
    const double page = static_cast<double>(machine.pageSize) / kGigabyte;
    e_.memUsedGB = (double{0} + vm.active_count + vm.wire_count + vm.compressor_page_count) * page;
    e_.compressedGB = vm.compressor_page_count * page;
    e_.memAvailableGB = (double{0} + vm.free_count + vm.inactive_count + vm.speculative_count +
                         vm.purgeable_count) *
                        page;
    if (e_.memTotalGB > 0) {
        e_.memPct = smaller(e_.memUsedGB / e_.memTotalGB * 100, 100);
    }
    const int level = machine.pressureLevel.fails ? 1 : machine.pressureLevel.value;
    e_.pressure = level == 2 || level == 4 ? level : 1;
    if (swapTime_ && wall - *swapTime_ > 0.5 && vm.swapouts >= swapouts_) {
        e_.swappingNow = static_cast<double>(vm.swapouts - swapouts_) / (wall - *swapTime_) > 150;
    }
    swapouts_ = vm.swapouts;
    swapTime_ = wall;
}

void SecondSampler::readProcessor(const platform::SimulatedReadings& machine) {
    e_.cpuPct = 0;
    if (machine.cpuTicks.fails) {
        return;
    }
    const platform::CpuTicks& now = machine.cpuTicks.value;
    if (ticks_) {
        const double idle = double{0} + now.idle - ticks_->idle;
        const double all = double{0} + now.user - ticks_->user + now.system - ticks_->system +
                           now.nice - ticks_->nice + idle;
        e_.cpuPct = all > 0 ? (all - idle) / all * 100 : 0;
    }
    ticks_ = now;
}

const Expected& SecondSampler::sample(const simulation::MachineState& state, bool loaded,
                                      double wall) {
    const platform::SimulatedReadings& machine = state.readings;
    e_.memTotalGB = static_cast<double>(machine.physicalMemory.take().value_or(0)) / kGigabyte;
    e_.cores = machine.processorCount.take().value_or(1);
    readMemory(machine, wall);
    readProcessor(machine);
    const platform::SwapUsage swap = machine.swap.take().value_or(platform::SwapUsage{});
    e_.swapUsedGB = static_cast<double>(swap.xsu_used) / kGigabyte;
    e_.swapTotalGB = static_cast<double>(swap.xsu_total) / kGigabyte;
    e_.swapPct = swap.xsu_total == 0 ? 0 : e_.swapUsedGB / e_.swapTotalGB * 100;
    e_.diskFreeGB = e_.diskPct = 0;
    if (!machine.volume.fails) {
        const platform::VolumeStatistics& volume = machine.volume.value;
        const auto block = static_cast<double>(volume.f_bsize);
        const double available = block * static_cast<double>(volume.f_bavail);
        e_.diskFreeGB = available / kGigabyte;
        if (volume.f_blocks * volume.f_bsize > 0) {
            const double used = block * static_cast<double>(volume.f_blocks) -
                                block * static_cast<double>(volume.f_bfree);
            e_.diskPct = used / (used + available) * 100;
        }
    }
    e_.load1 = machine.load.fails ? 0 : machine.load.value[0];
    e_.uptime = machine.bootTime.fails ? "" : upSince(machine.bootTime.value, wall);
    e_.top = heaviest(state.processes, 5);
    e_.wardenOn = loaded;
    e_.thermal = machine.thermalState;
    score();
    return e_;
}

void SecondSampler::score() {
    const double memory = e_.pressure == 2   ? 45
                          : e_.pressure == 4 ? 10
                          : e_.memTotalGB > 0
                              ? smaller(85 + 75 * e_.memAvailableGB / e_.memTotalGB, 100)
                              : 85;
    const double disk = e_.diskFreeGB >= 75   ? 100
                        : e_.diskFreeGB <= 10 ? 15
                                              : 15 + 85 * (e_.diskFreeGB - 10) / 65;
    constexpr double kThermal[] = {100, 75, 35, 0};
    const double thermal = e_.thermal >= 0 && e_.thermal <= 3 ? kThermal[e_.thermal] : 100;
    const std::string load = printed("%.2f", e_.load1) + " across " + std::to_string(e_.cores);
    e_.factors = {Expected::Factor{"Memory", 0.26, memory,
                                   printed("%.1f GB free to use · ", e_.memAvailableGB) +
                                       pressureWords(e_.pressure)},
                  {"Disk", 0.24, disk, whole(e_.diskFreeGB) + " GB free"},
                  {"CPU", 0.16, 100 - e_.cpuPct, printed("%.0f%% busy", e_.cpuPct)},
                  {"Load", 0.14, 100 - smaller(e_.load1 / e_.cores * 100, 100), load + " cores"},
                  {"Swap", 0.12, e_.swappingNow ? 25.0 : 100.0,
                   e_.swappingNow ? "actively paging" : "not paging"},
                  {"Thermal", 0.08, thermal, thermalWords(e_.thermal)}};
    double raw = 0;
    for (const Expected::Factor& factor : e_.factors) {
        raw += factor.health * factor.weight;
    }
    e_.runaway.reset();
    e_.alerts.clear();
    if (!e_.top.empty() && e_.top[0].gb >= 8) {
        e_.runaway = e_.top[0];
        raw = smaller(raw, 45);
        e_.alerts.push_back(e_.top[0].name + " is holding " + printed("%.1fGB", e_.top[0].gb));
    }
    e_.score = raw < 100 ? std::llround(raw) : 100;
    e_.verdict = verdictFor(e_.score);
    std::stable_sort(e_.factors.begin(), e_.factors.end(), [](const auto& a, const auto& b) {
        return (100 - a.health) * a.weight > (100 - b.health) * b.weight;
    });
    if (e_.diskFreeGB < 10) {
        e_.alerts.push_back("Disk critical: only " + whole(e_.diskFreeGB) + "GB left");
    } else if (e_.diskFreeGB < 25) {
        e_.alerts.push_back("Disk getting tight: " + whole(e_.diskFreeGB) + "GB free");
    }
    if (e_.pressure == 4) {
        e_.alerts.emplace_back("Memory is critically low. Quit something large");
    } else if (e_.pressure == 2 && e_.swappingNow) {
        e_.alerts.emplace_back("Under memory pressure and paging to disk");
    }
    if (e_.thermal == 2 || e_.thermal == 3) {
        e_.alerts.emplace_back("Running hot. macOS is throttling to cool down");
    }
    if (e_.swappingNow) {
        e_.alerts.emplace_back("Actively swapping. RAM is oversubscribed");
    }
}

namespace {

bool same(const Expected::Process& a, const ProcInfo& b) {
    return a.pid == b.id && a.name == b.name && a.gb == b.gb;
}

bool same(const std::vector<Expected::Process>& a, const std::vector<ProcInfo>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& one, const auto& other) { return same(one, other); });
}

} // namespace

bool near(double a, double b) {
    return std::abs(a - b) <= 1e-9 * (1 + std::abs(a));
}

bool sameFactors(const Expected& e, const Snapshot& s) {
    return std::equal(e.factors.begin(), e.factors.end(), s.factors.begin(), s.factors.end(),
                      [](const Expected::Factor& a, const ScoreFactor& b) {
                          return a.name == b.name && near(a.weight, b.weight) &&
                                 near(a.health, b.health) && a.detail == b.detail;
                      });
}

std::string difference(const Expected& e, const Snapshot& s) {
    const struct {
        const char* name;
        double expected;
        double found;
    } numbers[] = {
        {"cpuPct", e.cpuPct, s.cpuPct},
        {"memUsedGB", e.memUsedGB, s.memUsedGB},
        {"memTotalGB", e.memTotalGB, s.memTotalGB},
        {"memPct", e.memPct, s.memPct},
        {"compressedGB", e.compressedGB, s.compressedGB},
        {"memAvailableGB", e.memAvailableGB, s.memAvailableGB},
        {"memPressure", double(e.pressure), double(static_cast<int>(s.memPressure))},
        {"swapUsedGB", e.swapUsedGB, s.swapUsedGB},
        {"swapTotalGB", e.swapTotalGB, s.swapTotalGB},
        {"swapPct", e.swapPct, s.swapPct},
        {"swappingNow", double(e.swappingNow), double(s.swappingNow)},
        {"diskFreeGB", e.diskFreeGB, s.diskFreeGB},
        {"diskPct", e.diskPct, s.diskPct},
        {"load1", e.load1, s.load1},
        {"cores", double(e.cores), static_cast<double>(s.cores)},
        {"wardenOn", double(e.wardenOn), double(s.wardenOn)},
        {"thermal", double(e.thermal), double(static_cast<int>(s.thermal))},
        {"score", static_cast<double>(e.score), static_cast<double>(s.score)},
    };
    for (const auto& number : numbers) {
        // The sums are taken in another order, so the last bits may differ.
        if (!near(number.expected, number.found)) {
            return printed((std::string(number.name) + " is not %.17g").c_str(), number.expected);
        }
    }
    if (s.uptime != e.uptime || s.verdict != e.verdict) {
        return "uptime or verdict is not " + e.uptime + ", " + e.verdict;
    }
    if (!same(e.top, s.topProcs) || e.runaway.has_value() != s.runaway.has_value() ||
        (e.runaway && !same(*e.runaway, *s.runaway))) {
        return "the processes are others";
    }
    return "";
}

} // namespace korvel::swarm
