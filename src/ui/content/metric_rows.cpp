#include "ui/content/metric_rows.h"

#include <fmt/format.h>

#include "base/fatal.h"
#include "core/snapshot.h"

namespace korvel {

namespace {

Ink pressureColour(MemPressure pressure) {
    switch (pressure) {
    case MemPressure::normal:
        return Ink::good;
    case MemPressure::warning:
        return Ink::warn;
    case MemPressure::critical:
        break;
    }
    return Ink::bad;
}

/// The four steps of the thermal state as a bar, so that it lines up with the other gauges.
double thermalPct(ThermalState thermal) {
    switch (thermal) {
    case ThermalState::nominal:
        break;
    case ThermalState::fair:
        return 45;
    case ThermalState::serious:
        return 80;
    case ThermalState::critical:
        return 100;
    }
    return 15;
}

Ink thermalColour(ThermalState thermal) {
    switch (thermal) {
    case ThermalState::nominal:
        return Ink::good;
    case ThermalState::fair:
        return Ink::warn;
    case ThermalState::serious:
    case ThermalState::critical:
        break;
    }
    return Ink::bad; // an unknown state too: its bar is short, but it is not known to be good
}

/// Judged by activity, not by size: a large but idle swap file is good.
Row swapRow(const Snapshot& snap) {
    if (snap.swappingNow) {
        return {"SWAP", snap.swapPct, "actively paging, genuine pressure", Ink::bad, {}};
    }
    return {"SWAP",
            snap.swapPct,
            fmt::format("{:.1f} GB held · frees as apps quit", snap.swapUsedGB),
            Ink::good,
            {}};
}

PopoverContent::QuitButton quitButton(const ProcInfo& process, std::string tooltip) {
    return {"Quit " + process.name, std::move(tooltip)};
}

} // namespace

std::vector<Row> metricRows(const Snapshot& snap, const std::vector<HistoryPoint>& history) {
    return {
        {"CPU", snap.cpuPct, fmt::format("load {:.2f} across {} cores", snap.load1, snap.cores),
         gaugeTint(snap.cpuPct, 70, 90),
         Spark(history, Ink::cyan, [](const HistoryPoint& point) { return point.cpu; })},
        {"MEMORY", snap.memPct,
         fmt::format("{:.1f} GB free to use · {}", snap.memAvailableGB, label(snap.memPressure)),
         pressureColour(snap.memPressure),
         Spark(history, Ink::pink, [](const HistoryPoint& point) { return point.mem; })},
        swapRow(snap),
        {"THERMAL",
         thermalPct(snap.thermal),
         "macOS thermal state: " + snap.thermalLabel(),
         thermalColour(snap.thermal),
         {}},
        {"DISK",
         snap.diskPct,
         fmt::format("{} GB free", checkedInt(snap.diskFreeGB)),
         gaugeTint(snap.diskPct, 85, 93),
         {}},
    };
}

PopoverContent::SwapHolders swapHoldersOf(const std::vector<ProcInfo>& holders, bool scanning,
                                          platform::Processes& processes) {
    PopoverContent::SwapHolders block;
    block.scanning = scanning;
    if (holders.empty()) {
        block.button = scanning ? "checking…" : "what's holding it";
        return block;
    }
    for (const ProcInfo& holder : holders) {
        PopoverContent::ProcessLine line{
            holder.id, holder.name, fmt::format("{:.1f} GB", holder.gb), {}};
        if (!holder.isSelf(processes)) {
            line.quit = quitButton(holder, "Quit this app to free its swap");
        }
        block.holders.push_back(std::move(line));
    }
    block.note = "Quitting one frees its swap straight away. No restart needed.";
    return block;
}

std::vector<PopoverContent::ProcessLine> heaviestOf(const Snapshot& snap,
                                                    platform::Processes& processes) {
    std::vector<PopoverContent::ProcessLine> lines;
    for (const ProcInfo& process : snap.topProcs) {
        PopoverContent::ProcessLine line{
            process.id, process.name, fmt::format("{:.2f} GB", process.gb), {}};
        if (!process.isSelf(processes)) {
            line.quit = quitButton(process,
                                   "Quit " + process.name + ". Sends SIGTERM so it closes cleanly");
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace korvel
