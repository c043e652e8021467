#include "ui/content/metric_rows.h"

#include <string>
#include <utility>

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

/// For what the machine has no figure for.
Row unreportedRow(std::string label) {
    return {std::move(label), 0, kNotReported, Ink::secondary, {}, false};
}

Row thermalRow(const Snapshot& snap) {
    if (snap.unreported.thermalState) {
        return unreportedRow("THERMAL");
    }
    return {"THERMAL",
            thermalPct(snap.thermal),
            "macOS thermal state: " + snap.thermalLabel(),
            thermalColour(snap.thermal),
            {}};
}

Row diskRow(const Snapshot& snap) {
    if (snap.unreported.dataVolume) {
        return unreportedRow("DISK");
    }
    return {"DISK",
            snap.diskPct,
            fmt::format("{} GB free", checkedInt(snap.diskFreeGB)),
            gaugeTint(snap.diskPct, 85, 93),
            {}};
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

} // namespace

std::vector<Row> metricRows(const Snapshot& snap, const History& history) {
    return {
        {"CPU", snap.cpuPct, fmt::format("load {:.2f} across {} cores", snap.load1, snap.cores),
         gaugeTint(snap.cpuPct, 70, 90),
         Spark(history, Ink::cyan, [](const HistoryPoint& point) { return point.cpu; })},
        {"MEMORY", snap.memPct,
         fmt::format("{:.1f} GB free to use · {}", snap.memAvailableGB, label(snap.memPressure)),
         pressureColour(snap.memPressure),
         Spark(history, Ink::pink, [](const HistoryPoint& point) { return point.mem; })},
        swapRow(snap),
        thermalRow(snap),
        diskRow(snap),
    };
}

} // namespace korvel
