#include "report/snapshot_metrics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "core/snapshot.h"

namespace korvel {

namespace {

constexpr double kBytes = 0x1p30; ///< in one GB of a reading

/// The factors in the order of their weights, and the label of each. Labels never change: alerts
/// and dashboards elsewhere are written with them.
struct FactorLabel {
    std::string_view factor; ///< its name
    std::string_view label;
};
constexpr std::array<FactorLabel, 6> kFactorLabels = {{{"Memory", "memory"},
                                                       {"Disk", "disk"},
                                                       {"CPU", "cpu"},
                                                       {"Load", "load"},
                                                       {"Swap", "swap"},
                                                       {"Thermal", "thermal"}}};

std::string sampleText(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "+Inf" : "-Inf";
    }
    return fmt::format("{}", value);
}

std::string labelText(std::string_view value) {
    std::string text;
    for (const char c : value) {
        if (c == '\\' || c == '"') {
            text += '\\';
        }
        text += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return text;
}

class Exposition {
  public:
    /// Begins the series of that name. `help` has neither a backslash nor a line's end.
    void family(std::string_view name, std::string_view help) {
        name_ = name;
        fmt::format_to(std::back_inserter(text_), "# HELP {0} {1}\n# TYPE {0} gauge\n", name, help);
    }
    void sample(double value) {
        fmt::format_to(std::back_inserter(text_), "{} {}\n", name_, sampleText(value));
    }
    void sample(std::string_view label, std::string_view of, double value) {
        fmt::format_to(std::back_inserter(text_), "{}{{{}=\"{}\"}} {}\n", name_, label,
                       labelText(of), sampleText(value));
    }
    void gauge(std::string_view name, std::string_view help, double value) {
        family(name, help);
        sample(value);
    }
    const std::string& text() const { return text_; }

  private:
    std::string text_;
    std::string_view name_;
};

void addScore(Exposition& to, const Snapshot& s) {
    to.gauge("korvel_score", "Health of the machine, 0 worst to 100 perfect.",
             static_cast<double>(s.score));
    to.family("korvel_points_lost", "Points of 100 that each factor costs the score.");
    for (const FactorLabel& known : kFactorLabels) {
        const auto factor =
            std::find_if(s.factors.begin(), s.factors.end(),
                         [&](const ScoreFactor& f) { return f.name == known.factor; });
        to.sample("factor", known.label, factor == s.factors.end() ? 0 : factor->lost());
    }
    // Who may not see others' processes knows of a runaway, but not that there is none.
    if (s.runaway || !s.unreported.otherProcesses) {
        to.gauge("korvel_runaway",
                 "Whether one process holds 8 GiB or more, for which the score is 45 at most.",
                 s.runaway ? 1 : 0);
    }
}

void addMemory(Exposition& to, const Snapshot& s, Rates rates) {
    if (s.memTotalGB > 0) {
        to.gauge("korvel_memory_total_bytes", "Memory of the machine.", s.memTotalGB * kBytes);
        to.gauge("korvel_memory_available_bytes", "Memory that could be handed out without paging.",
                 s.memAvailableGB * kBytes);
        to.gauge("korvel_memory_used_bytes", "Memory in use.", s.memUsedGB * kBytes);
        to.gauge("korvel_memory_compressed_bytes", "Memory that holds compressed pages.",
                 s.compressedGB * kBytes);
        to.gauge("korvel_memory_pressure_level",
                 "Memory pressure as a kernel numbers it: 1 normal, 2 warning, 4 critical.",
                 static_cast<int>(s.memPressure));
    }
    to.gauge("korvel_swap_total_bytes", "Swap space.", s.swapTotalGB * kBytes);
    to.gauge("korvel_swap_used_bytes", "Swap space in use.", s.swapUsedGB * kBytes);
    if (rates == Rates::known) {
        to.gauge("korvel_swapping", "Whether much is being written to swap on a disk right now.",
                 s.swappingNow ? 1 : 0);
    }
}

void addProcessors(Exposition& to, const Snapshot& s, Rates rates) {
    to.gauge("korvel_processors", "Logical processors online.", static_cast<double>(s.cores));
    if (rates == Rates::known) {
        to.gauge("korvel_cpu_usage_ratio", "Share of the processors' time that was busy, 0 to 1.",
                 s.cpuPct / 100);
    }
    to.gauge("korvel_load1", "Load average over one minute.", s.load1);
    const bool stateIsKnown =
        s.thermal >= ThermalState::nominal && s.thermal <= ThermalState::critical;
    if (!s.unreported.thermalState && stateIsKnown) {
        to.gauge("korvel_thermal_state", "Heat: 0 nominal, 1 fair, 2 serious, 3 critical.",
                 static_cast<int>(s.thermal));
    }
}

void addDisk(Exposition& to, const Snapshot& s) {
    if (!s.unreported.dataVolume) {
        to.gauge("korvel_disk_available_bytes",
                 "Room that a user may still take on the volume of the home directory.",
                 s.diskFreeGB * kBytes);
        to.gauge("korvel_disk_used_ratio",
                 "Used share of the volume of the home directory, 0 to 1.", s.diskPct / 100);
    }
}

} // namespace

std::string snapshotMetrics(const Snapshot& snapshot, Rates rates, std::string_view version) {
    Exposition exposition;
    addScore(exposition, snapshot);
    addMemory(exposition, snapshot, rates);
    addProcessors(exposition, snapshot, rates);
    addDisk(exposition, snapshot);
    exposition.gauge("korvel_watchdog_loaded",
                     "Whether the watchdog of the user who asks is loaded.",
                     snapshot.wardenOn ? 1 : 0);
    exposition.family("korvel_build_info", "The program that took the reading.");
    exposition.sample("version", version, 1);
    return exposition.text();
}

} // namespace korvel
