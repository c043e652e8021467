#pragma once

#include "ui/content/popover_content.h"

namespace korvel::platform {
class Processes;
} // namespace korvel::platform

namespace korvel {

struct ProcInfo;
struct Snapshot;

/// The popover's middle: the gauges, and the processes that can be quit.

/// CPU, MEMORY, SWAP, THERMAL, DISK. Fatal for a percentage that is not finite.
std::vector<Row> metricRows(const Snapshot& snap, const std::vector<HistoryPoint>& history);

PopoverContent::SwapHolders swapHoldersOf(const std::vector<ProcInfo>& holders, bool scanning,
                                          platform::Processes& processes);

std::vector<PopoverContent::ProcessLine> heaviestOf(const Snapshot& snap,
                                                    platform::Processes& processes);

} // namespace korvel
